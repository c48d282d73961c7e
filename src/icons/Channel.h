#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/linux/icons/IconMessages.h"

/// The decoder's end of the socket to the program, which is standard input.
namespace quorvel::icons {

/// Waits for a request and reads its file, which gives an empty content when it cannot be read or is longer
/// than any icon. None when the program has gone, or sent something else.
std::optional<std::vector<std::uint8_t>> receiveFile();

/// False when the program has gone.
bool send(const Answer& answer);

}  // namespace quorvel::icons
