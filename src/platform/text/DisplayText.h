#pragma once

#include <string>
#include <string_view>

namespace quorvel {

/// A text from outside as it may be shown within a line: control characters and line separators become
/// spaces; the characters that would turn the direction of what follows, and those that Unicode keeps for no
/// character at all, which a bus refuses to carry, are left out. `text` is valid UTF-8.
std::string onOneLine(std::string_view text);

/// A text from outside, of any bytes, as it may go to a terminal: on one line, and without what a terminal
/// would obey.
std::string forTerminal(std::string_view text);

/// A text that stands beside others on a line: one with right-to-left characters is isolated (U+2068,
/// U+2069), so that it does not turn the order of what follows it, such as two version numbers.
std::string isolated(std::string_view text);

}  // namespace quorvel
