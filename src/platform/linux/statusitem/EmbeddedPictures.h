#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quorvel {

/// A picture whose bytes are part of the program.
struct EmbeddedPicture {
    std::string_view name;
    /// The same picture in several sizes, smallest first, each a PNG file.
    std::span<const std::span<const std::uint8_t>> pngs;
};

/// What the build drew from the SVGs of resources/.
std::span<const EmbeddedPicture> embeddedPictures();

}  // namespace quorvel
