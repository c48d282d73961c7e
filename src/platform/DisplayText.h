#pragma once

#include <string>
#include <string_view>

namespace quorvel {

/// A text from outside as it may be shown within a line: control characters and line separators become
/// spaces; the characters that would turn the direction of what follows, and those that Unicode keeps for no
/// character at all, which a bus refuses to carry, are left out. `text` is valid UTF-8.
std::string onOneLine(std::string_view text);

}  // namespace quorvel
