#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

/// Files of the program's own storage folder, and reading in general. Nothing here throws.
namespace quorvel::files {

/// The whole content of a regular file; none when it is missing, unreadable, no regular file or longer than
/// `sizeLimit` bytes. A FIFO or device is never waited for.
std::optional<std::string> read(const std::filesystem::path& path, std::size_t sizeLimit = 8 * 1024 * 1024);

/// The same, of a path below the open folder `folder`, into a buffer that serves one file after another.
/// False when there is no content.
bool read(int folder, const char* path, std::size_t sizeLimit, std::string& content);

/// Replaces the file at `path` in one step: a reader sees the old or the new content, never a part, also
/// after a crash or a loss of power. The file gets mode `mode`. A symbolic link at `path` is replaced, not
/// followed. Of several writers at once the last one wins. False on any failure, with the old file in place
/// and no temporary file left; what a killed writer left is removed by a later write of the same file, once
/// it is a minute old.
bool writeAtomically(const std::filesystem::path& path, std::string_view bytes, mode_t mode = 0600);

/// Appends to an existing regular file with one write, so that the lines of two writers do not mix. Should
/// the process be killed inside it, a write that spans several pages of the file can end at any of them.
/// Where a full disk takes only the first bytes, these are taken back. False only when there is no regular
/// file that can be opened for writing; a symbolic link cannot.
bool append(const std::filesystem::path& path, std::string_view bytes);

/// Makes the folder and its missing parents, each with mode 0700. True when it is there afterwards.
bool makeFolder(const std::filesystem::path& path);

}  // namespace quorvel::files
