#pragma once

#include <functional>

#include "platform/UncaughtException.h"

namespace quorvel {

/// Makes `handler` what a terminating process runs last, on whatever thread it is, and remembers from now on
/// where exceptions are thrown. When the handler returns, or fails in its turn, the process ends with
/// status 1. Once a process.
void onUncaughtException(std::function<void(const UncaughtException&)> handler);

}  // namespace quorvel
