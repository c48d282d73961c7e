#pragma once

#include <string>
#include <string_view>

namespace quorvel {

/// A text from outside, of any bytes, as it may stand within a line of a menu, a window or a terminal:
/// control characters and line separators become spaces; bidi controls and noncharacters, which a bus refuses
/// to carry, are left out.
std::string onOneLine(std::string_view text);

/// Whether the bidi algorithm would let `text` turn the order of what stands beside it, such as two version
/// numbers: it has right-to-left letters or Arabic digits.
bool containsRightToLeft(std::string_view text);

/// A text that stands beside others on a line: one with right-to-left characters as a bidi isolate (U+2068,
/// U+2069).
std::string isolated(std::string_view text);

}  // namespace quorvel
