#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quorvel {

inline std::string repeated(std::size_t count, std::string_view piece) {
    std::string text;
    for (std::size_t index = 0; index < count; ++index)
        text += piece;
    return text;
}

/// How often `part` occurs in `text`.
inline int countIn(std::string_view text, std::string_view part) {
    int count = 0;
    for (auto at = text.find(part); at != text.npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

}  // namespace quorvel
