#include "platform/Folders.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace quorvel::folders {

namespace {

/// The XDG base directory rules disregard a relative path.
std::filesystem::path absolutePathFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && value[0] == '/' ? std::filesystem::path(value) : std::filesystem::path();
}

}  // namespace

std::filesystem::path home() {
    if (auto folder = absolutePathFromEnvironment("HOME"); !folder.empty()) return folder;
    const passwd* user = getpwuid(getuid());
    // A relative path would depend on where the program was started.
    const bool known = user != nullptr && user->pw_dir != nullptr && user->pw_dir[0] == '/';
    return known ? std::filesystem::path(user->pw_dir) : std::filesystem::path();
}

std::filesystem::path applicationSupport() {
    if (auto folder = absolutePathFromEnvironment("XDG_DATA_HOME"); !folder.empty()) return folder;
    const auto folder = home();
    return folder.empty() ? folder : folder / ".local/share";
}

}  // namespace quorvel::folders
