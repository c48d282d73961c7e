#pragma once

#include <filesystem>

#include "platform/linux/FileDescriptor.h"

namespace quorvel {

/// Says that a running instance works with a storage folder, also to instances that share no session bus with
/// it. Held until it is destroyed; the system lets go of it when the process dies, however it dies. Owned by
/// an entry.
class InstanceLock {
public:
    explicit InstanceLock(const std::filesystem::path& folder);

    /// False too when the folder cannot hold a lock: nobody can tell then, and the program is of more use
    /// than the lock.
    bool isHeldByAnother() const { return isTaken; }

private:
    FileDescriptor file;
    bool isTaken;
};

}  // namespace quorvel
