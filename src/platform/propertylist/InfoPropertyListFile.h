#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvel {

/// Reads the "Contents/Info.plist" of one bundle after another, into one buffer.
class InfoPropertyListFile {
public:
    /// The file's bytes, good until the next call; none when it is missing, unreadable, no regular file or
    /// too long for a property list. `folder`: the open folder that holds the bundle.
    std::optional<std::string_view> read(int folder, std::string_view bundleName);

private:
    std::optional<std::string_view> readOpenFile(int file);

    std::string path;
    std::string buffer;
};

}  // namespace quorvel
