#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quorvel {

/// The drawings that programs install in the icon theme which every other falls back on (hicolor).
class IconTheme {
public:
    /// Folders of shared data, each with `icons/hicolor` in it.
    explicit IconTheme(std::vector<std::filesystem::path> dataFolders);

    /// Those of XDG_DATA_HOME and XDG_DATA_DIRS, or what stands for them when they are not set.
    static IconTheme ofEnvironment();

    /// The folder of icon themes in which a status item's host finds an icon of that name; empty when there
    /// is none.
    std::filesystem::path folderOf(const std::string& name) const;

private:
    std::vector<std::filesystem::path> folders;
};

}  // namespace quorvel
