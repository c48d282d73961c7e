#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/icons/IconMessages.h"

namespace quorvel::icons {

/// The picture of an .icns file, from that of its sizes which suits best: PNG, or the format's own packed
/// pixels with or without alpha. None when it holds no picture that can be decoded; JPEG 2000, which old
/// files have beside others, and indexed colours are not read. Opens nothing and starts no thread.
std::optional<Pixels> decodedIcon(std::span<const std::uint8_t> file);

}  // namespace quorvel::icons
