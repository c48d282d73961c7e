#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "platform/linux/icons/Png.h"

namespace quorvel {

/// Red, green, blue, alpha.
using Colour = std::array<std::uint8_t, 4>;

/// A part of an .icns file, and the file itself: a type, the length with this head, the content.
inline std::string iconChunk(const std::string& type, const std::string& content) {
    const auto size = content.size() + 8;
    std::string chunk = type;
    for (const int shift : {24, 16, 8, 0})
        chunk += static_cast<char>((size >> shift) & 255U);
    return chunk + content;
}

inline std::string iconFile(const std::string& chunks) {
    return iconChunk("icns", chunks);
}

/// A PNG of one colour.
inline std::string pngOf(int side, const Colour& colour) {
    Bitmap bitmap{.width = side, .height = side, .rgba = {}};
    for (int pixel = 0; pixel < side * side; ++pixel)
        bitmap.rgba.insert(bitmap.rgba.end(), colour.begin(), colour.end());
    const auto file = encodedPng(bitmap);
    return {file.begin(), file.end()};
}

/// The values of `count` pixels' part, all the same, in runs, of which each has three at least.
inline std::string packedRuns(int count, std::uint8_t value) {
    std::string runs;
    for (int rest = count, length = 0; rest > 0; rest -= length) {
        length = std::min(rest, 130);
        runs += {static_cast<char>(125 + length), static_cast<char>(value)};
    }
    return runs;
}

/// The old kind, `side` by `side` pixels of one colour: red, green and blue one after another, and a mask.
inline std::string rawIcon(const std::string& type, const std::string& maskType, int side,
                           const Colour& colour) {
    std::string planes = type == "it32" ? std::string(4, '\0') : "";
    for (std::size_t part = 0; part < 3; ++part)
        planes += packedRuns(side * side, colour[part]);
    const auto pixels = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
    return iconChunk(type, planes) + iconChunk(maskType, std::string(pixels, static_cast<char>(colour[3])));
}

/// The newer kind for small sizes: alpha, red, green and blue one after another.
inline std::string argbIcon(const std::string& type, int side, const Colour& colour) {
    std::string planes = "ARGB" + packedRuns(side * side, colour[3]);
    for (std::size_t part = 0; part < 3; ++part)
        planes += packedRuns(side * side, colour[part]);
    return iconChunk(type, planes);
}

}  // namespace quorvel
