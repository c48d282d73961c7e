#include "scanner/BundleWalk.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace quorvel {

namespace {

constexpr char bundleKind = 'b';
constexpr char folderKind = 'f';

/// How many of the innermost folders stay open, beside the root. Few trees are deeper.
constexpr std::size_t openFolderLimit = 16;

DIR* openFolder(int parent, const char* name) {
    const int descriptor = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    DIR* const folder = fdopendir(descriptor);
    if (folder == nullptr) close(descriptor);
    return folder;
}

bool isFolder(DIR* parent, const dirent& entry) {
    if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat status{};
    return fstatat(dirfd(parent), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

bool isSame(DIR* folder, dev_t device, ino_t inode) {
    struct stat status{};
    return fstat(dirfd(folder), &status) == 0 && status.st_dev == device && status.st_ino == inode;
}

}  // namespace

BundleWalk::BundleWalk(const std::string& root) : path(root) {
    if (!path.empty() && !path.ends_with('/')) path += '/';
    // The slash lets a root that could not be resolved be a link.
    if (Folder folder{openFolder(AT_FDCWD, path.c_str())}) {
        opened = true;
        enter(std::move(folder));
    } else {
        noteUnreadable(errno);
    }
}

std::optional<BundleWalk::Bundle> BundleWalk::next() {
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.position == level.entries.size()) {
            leave();
            continue;
        }
        const char kind = level.entries[level.position];
        const char* const name = level.entries.c_str() + level.position + 1;
        const std::size_t length = std::string_view(name).size();
        level.position += length + 2;
        path.resize(level.pathLength);
        path.append(name, length);
        const int folder = dirfd(level.folder.get());
        if (kind == bundleKind) return Bundle{folder, {name, length}, path};
        if (Folder inner{openFolder(folder, name)}) {
            path += '/';
            enter(std::move(inner));
        } else {
            noteUnreadable(errno);
        }
    }
    return std::nullopt;
}

void BundleWalk::enter(Folder folder) {
    std::string entries = readEntries(folder.get());
    if (entries.empty()) return;
    Level level;
    level.folder = std::move(folder);
    level.entries = std::move(entries);
    level.pathLength = path.size();
    levels.push_back(std::move(level));
    if (levels.size() > openFolderLimit + 1) closeOuterLevel();
}

std::string BundleWalk::readEntries(DIR* folder) {
    std::string entries;
    errno = 0;
    for (const dirent* entry = nullptr; (entry = readdir(folder)) != nullptr; errno = 0) {
        const std::string_view name = entry->d_name;
        if (name.starts_with('.')) continue;
        if (name.ends_with(".app")) {
            entries += bundleKind;
        } else if (isFolder(folder, *entry)) {
            entries += folderKind;
        } else {
            continue;
        }
        entries.append(name).push_back('\0');
    }
    if (errno != 0) noteUnreadable(errno);
    return entries;
}

/// Of the entry that `path` names. What has gone, or was replaced by something that is no folder, is no loss.
void BundleWalk::noteUnreadable(int error) {
    if (error != ENOENT && error != ENOTDIR && error != ELOOP) unreadable.push_back(path);
}

/// The root stays open, whatever happens to the folders inside it.
void BundleWalk::closeOuterLevel() {
    Level& outer = levels[levels.size() - 1 - openFolderLimit];
    if (!outer.folder) return;
    struct stat status{};
    if (fstat(dirfd(outer.folder.get()), &status) == 0) {
        outer.device = status.st_dev;
        outer.inode = status.st_ino;
    }
    outer.folder.reset();
}

void BundleWalk::leave() {
    const Folder left = std::move(levels.back().folder);
    levels.pop_back();
    if (!levels.empty() && !levels.back().folder) reopenInnermost(left ? dirfd(left.get()) : -1);
}

/// Opens the innermost folder again, from the folder inside it that was just left. When that one has been
/// moved meanwhile, the rest of the innermost is lost.
void BundleWalk::reopenInnermost(int leftFolder) {
    Level& level = levels.back();
    level.folder.reset(openFolder(leftFolder, ".."));
    if (level.folder && isSame(level.folder.get(), level.device, level.inode)) return;
    level.folder.reset();
    level.position = level.entries.size();
    unreadable.push_back(path.substr(0, level.pathLength));
}

}  // namespace quorvel
