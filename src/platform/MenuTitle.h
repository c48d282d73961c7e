#pragma once

#include <string>

#include "platform/Menu.h"

namespace quorvel {

/// The title of `item` as a menu can draw it: valid UTF-8 on one line or, parted by line feeds, a few; no
/// control characters; what is too wide cut with "…". With a right-to-left text in it, each part from outside
/// stands in a direction of its own (U+2068, U+2069), so that "1.0 → 2.0" reads that way round.
std::string displayTitle(const MenuItem& item);

}  // namespace quorvel
