#pragma once

#include <dirent.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace quorvel {

/// Finds the application bundles below a folder: each entry with the extension "app", a folder's in the file
/// system's own order, a subfolder's right after the subfolder itself. Hidden entries are left out, links to
/// folders are not followed, bundles are not entered, and what cannot be read costs only itself.
/// However deep the folders stand, only a few are open at a time.
class BundleWalk {
public:
    struct Bundle {
        /// The open folder that holds the bundle, good until the next call.
        int folder;
        std::string name;
        /// May be longer than the system takes a path.
        std::string path;
    };

    /// `root`: an absolute path. One that is no folder has no bundles.
    explicit BundleWalk(const std::string& root);

    /// Whether the root is a folder that could be opened.
    bool isRootOpen() const { return opened; }

    std::optional<Bundle> next();

    /// The folders met so far that could not be read, or not to their end. One that has vanished is not among
    /// them.
    const std::vector<std::string>& unreadableFolders() const { return unreadable; }

private:
    struct FolderCloser {
        void operator()(DIR* folder) const { closedir(folder); }
    };
    using Folder = std::unique_ptr<DIR, FolderCloser>;

    /// A folder whose entries are being gone through.
    struct Level {
        /// Closed when many folders deeper in are open.
        Folder folder;
        /// What is to be looked at, all read at once: for each entry a byte that tells its kind, the name,
        /// NUL.
        std::string entries;
        std::size_t position = 0;
        /// Of `path`, up to and with this folder's slash.
        std::size_t pathLength = 0;
        /// The folder's identity, kept when it is closed.
        dev_t device = 0;
        ino_t inode = 0;
    };

    void enter(Folder folder);
    std::string readEntries(DIR* folder);
    void noteUnreadable(int error);
    void leave();
    void closeOuterLevel();
    void reopenInnermost(int leftFolder);

    std::string path;
    bool opened = false;
    std::vector<Level> levels;
    std::vector<std::string> unreadable;
};

}  // namespace quorvel
