#pragma once

#include <string>
#include <string_view>

namespace quorvel {

/// A text from outside as it may be shown within a line: control characters and line separators become
/// spaces, and the characters that would turn the direction of what follows are left out.
std::string onOneLine(std::string_view text);

}  // namespace quorvel
