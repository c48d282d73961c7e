#include "platform/linux/XdgFolders.h"

#include <cstdlib>

#include "platform/Folders.h"

namespace quorvel::xdg {

namespace {

/// The rules disregard a relative path.
std::filesystem::path folder(const char* variable, const char* belowHome) {
    const char* const chosen = std::getenv(variable);
    if (chosen != nullptr && chosen[0] == '/') return chosen;
    const auto home = folders::home();
    return home.empty() ? home : home / belowHome;
}

}  // namespace

std::filesystem::path dataHome() {
    return folder("XDG_DATA_HOME", ".local/share");
}

std::filesystem::path configHome() {
    return folder("XDG_CONFIG_HOME", ".config");
}

}  // namespace quorvel::xdg
