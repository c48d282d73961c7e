#pragma once

#include <string>
#include <vector>

namespace quorvel::painter {

/// PNG files of the icon in an .icns file, 16 by 16 and 32 by 32 pixels; none when there is no picture that
/// can be decoded, or the file is larger than any icon.
std::vector<std::string> decodedIcon(const std::string& path);

}  // namespace quorvel::painter
