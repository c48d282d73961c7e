#pragma once

#include <functional>

#include "platform/UncaughtException.h"

namespace quorvel {

/// Makes `handler` what the process runs last, on its main thread, when nobody caught an exception of C++ or
/// of the system. When it returns, the process ends with status 1. Once a process.
void onUncaughtException(std::function<void(const UncaughtException&)> handler);

}  // namespace quorvel
