#pragma once

#include <chrono>
#include <functional>

namespace quorvel {

/// Tells the time of day. Tests hand in one that they move.
using WallClock = std::function<std::chrono::system_clock::time_point()>;

}  // namespace quorvel
