#include "platform/linux/IconTheme.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string_view>
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
    static constexpr std::string_view sizes[] = {"scalable", "symbolic", "16x16", "22x22",
                                                 "24x24",    "32x32",    "48x48", "64x64"};
    std::error_code ignored;
    for (const auto size : sizes) {
        for (const auto* const context : {"apps", "status"}) {
            const auto file = theme / size / context / name;
            if (fs::exists(file.string() + ".svg", ignored) || fs::exists(file.string() + ".png", ignored))
                return true;
        }
    }
    return false;
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
