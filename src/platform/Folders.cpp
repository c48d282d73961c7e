#include "platform/Folders.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace quorvel::folders {

std::filesystem::path home() {
    // A relative path would depend on where the program was started.
    const auto isAbsolute = [](const char* path) { return path != nullptr && path[0] == '/'; };
    if (const char* const folder = std::getenv("HOME"); isAbsolute(folder)) return folder;
    const passwd* const user = getpwuid(getuid());
    return user != nullptr && isAbsolute(user->pw_dir) ? user->pw_dir : "";
}

}  // namespace quorvel::folders
