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

bool hasIcon(const fs::path& folder, const std::string& name) {
    std::error_code ignored;
    return fs::exists(folder / (name + ".svg"), ignored) || fs::exists(folder / (name + ".png"), ignored);
}

}  // namespace

IconTheme::IconTheme(std::vector<fs::path> dataFolders) : themeFolders(std::move(dataFolders)) {
    for (auto& folder : themeFolders)
        folder = folder / "icons" / "hicolor";
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

bool IconTheme::contains(const std::string& name) const {
    static constexpr std::string_view sizes[] = {"scalable", "symbolic", "16x16", "22x22",
                                                 "24x24",    "32x32",    "48x48", "64x64"};
    static constexpr std::string_view contexts[] = {"apps", "status"};
    for (const auto& theme : themeFolders) {
        for (const auto size : sizes) {
            const auto hasName = [&](std::string_view context) {
                return hasIcon(theme / size / context, name);
            };
            if (std::ranges::any_of(contexts, hasName)) return true;
        }
    }
    return false;
}

}  // namespace quorvel
