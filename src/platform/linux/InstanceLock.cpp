#include "platform/linux/InstanceLock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>

namespace quorvel {

/// The file stays when the lock goes: to remove it could take it away under an instance that has just opened
/// it.
InstanceLock::InstanceLock(const std::filesystem::path& folder)
    : file(open((folder / "instance.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                0600)),
      isTaken(file && flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {}

}  // namespace quorvel
