#include "platform/linux/statusitem/IconTheme.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>
#include <system_error>
#include <utility>

namespace quorvel {

namespace {

namespace fs = std::filesystem;

std::string environment(const char* name) {
    const char* const value = getenv(name);
    return value ? value : "";
}

bool hasIcon(const fs::path& theme, const std::string& name) {
    std::error_code ignored;
    return std::ranges::any_of(std::array{"scalable", "symbolic"}, [&](const char* size) {
        return fs::exists(theme / size / "apps" / (name + ".svg"), ignored);
    });
}

}  // namespace

IconTheme::IconTheme(std::vector<fs::path> dataFolders) : folders(std::move(dataFolders)) {
    for (auto& folder : folders)
        folder /= "icons";
}

IconTheme IconTheme::ofEnvironment() {
    std::string home = environment("XDG_DATA_HOME");
    if (home.empty() && !environment("HOME").empty()) home = environment("HOME") + "/.local/share";
    std::string folders = environment("XDG_DATA_DIRS");
    if (folders.empty()) folders = "/usr/local/share:/usr/share";
    std::istringstream list(home + ':' + folders);
    std::vector<fs::path> dataFolders;
    for (std::string folder; std::getline(list, folder, ':');) {
        // The standard has relative folders disregarded.
        if (folder.starts_with('/')) dataFolders.emplace_back(folder);
    }
    return IconTheme(std::move(dataFolders));
}

fs::path IconTheme::folderOf(const std::string& name) const {
    const auto found =
        std::ranges::find_if(folders, [&](const auto& folder) { return hasIcon(folder / "hicolor", name); });
    return found == folders.end() ? fs::path() : *found;
}

}  // namespace quorvel
