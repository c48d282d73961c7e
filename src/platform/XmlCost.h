#pragma once

#include <string_view>

namespace quorvel {

/// Whether expat reads this UTF-8 document about as fast as plain text. It needs 1 ns for a byte of ASCII
/// text, but 18 ns for one of white space in an attribute and 140 ns for one of many short attributes, and it
/// tells of a tag only when all of the tag has been read.
bool isCheapXml(std::string_view document);

}  // namespace quorvel
