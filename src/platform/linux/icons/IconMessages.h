#pragma once

#include <array>
#include <cstdint>

/// What the program and quorvel-icons tell each other over a socket that keeps messages apart
/// (SOCK_SEQPACKET). A request is one byte, which means nothing, with one open file; it is answered, after
/// the one before it, by an answer of always the same length. The first answer comes unasked and is `ready`.
namespace quorvel::icons {

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
