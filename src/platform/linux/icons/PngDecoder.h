#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/Image.h"

namespace quorvel {

/// None when the bytes are no whole PNG file, or one of more than 1024 pixels a side.
std::optional<Bitmap> decodedPng(std::span<const std::uint8_t> png);

}  // namespace quorvel
