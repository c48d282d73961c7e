#pragma once

#include <string>
#include <string_view>

namespace quorvel::text {

/// `bytes` as a URL carries them: ASCII letters, digits and the characters of `marks` as they are, every
/// other byte as %XX.
std::string percentEncoded(std::string_view bytes, std::string_view marks);

}  // namespace quorvel::text
