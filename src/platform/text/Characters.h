#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quorvel::text {

/// The user-perceived characters of `text` (extended grapheme clusters), in order: a letter with its
/// combining marks is one, and so is CR LF. The views point into `text`, of which they cover every byte.
std::vector<std::string_view> characters(std::string_view text);

/// The canonical composition (NFC) of `text`. The byte order of two such texts is their code-point order.
std::string composed(std::string_view text);

}  // namespace quorvel::text
