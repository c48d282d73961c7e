#pragma once

#include <cstdint>
#include <vector>

#include "platform/Image.h"

namespace quorvel {

/// A PNG file of the bitmap; empty when the bitmap has not as many pixels as it says.
std::vector<std::uint8_t> encodedPng(const Bitmap& bitmap);

}  // namespace quorvel
