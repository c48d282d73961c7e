#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "platform/Image.h"

namespace quorvel {

/// None when the bytes are no whole PNG file, or one of more than 1024 pixels a side.
std::optional<Bitmap> decodedPng(std::span<const std::uint8_t> png);

/// A PNG file of the bitmap; empty when the bitmap has not as many pixels as it says.
std::vector<std::uint8_t> encodedPng(const Bitmap& bitmap);

}  // namespace quorvel
