#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// The messages between the program and quorvel-icons. A request is one byte, which means nothing, with one
/// open file; it is answered, after the one before it, by an `Answer`, always of the same size. The first
/// answer comes unasked and is `ready`.
namespace quorvel::icons {

/// The size of the largest icon file that is opened, in bytes.
inline constexpr std::size_t maxFileSize = std::size_t{8} * 1024 * 1024;
/// Of every picture, in pixels.
inline constexpr int side = 32;
/// Red, green, blue, alpha, not premultiplied, rows from the top.
using Pixels = std::array<std::uint8_t, side * side * 4>;

struct Answer {
    enum class Kind : std::uint8_t { ready = 'R', none = 'N', picture = 'P' };

    Kind kind = Kind::none;
    /// Of a picture; else zeros.
    Pixels pixels{};
};
static_assert(sizeof(Answer) == 1 + sizeof(Pixels), "an answer goes over the socket as it lies in memory");

}  // namespace quorvel::icons
