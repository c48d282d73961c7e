#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/text/Text.h"

/// What the fuzz targets share. Each target states laws about any input; a broken one ends the process, as a
/// sanitizer's report does.
namespace quorvel::fuzz {

inline void require(bool holds, const char* law) {
    if (holds) return;
    std::fprintf(stderr, "The law does not hold: %s\n", law);
    std::abort();
}

inline void requireText(std::string_view text) {
    require(text::isValidUtf8(text), "a text that comes out is valid UTF-8");
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The head of `input` up to `separator`, both of which `input` loses; without one, all of it.
inline std::string_view takeUpTo(std::string_view separator, std::string_view& input) {
    const std::size_t end = input.find(separator);
    const std::string_view head = input.substr(0, end);
    input.remove_prefix(end == std::string_view::npos ? input.size() : end + separator.size());
    return head;
}

}  // namespace quorvel::fuzz
