#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "platform/UncaughtException.h"

namespace quorvel {

/// How a system tells where the present thread is.
struct CallStackReader {
    /// Fills in the program counters, the innermost first, and returns their number.
    std::size_t (*capture)(std::span<std::uintptr_t> frames);
    /// A line for each.
    std::vector<std::string> (*symbols)(std::span<const std::uintptr_t> frames);
};

/// Makes `handler` what a terminating process runs last, on whatever thread it is, and remembers from now on
/// where exceptions are thrown. When the handler returns, or fails in its turn, the process ends with
/// status 1. Once a process.
void onUncaughtException(CallStackReader reader, std::function<void(const UncaughtException&)> handler);

/// Ends the process so for an exception that is none of C++.
[[noreturn]] void endWith(const UncaughtException& exception);

/// The symbol of a function or a type as it is written in C++.
std::string demangled(const char* name);

}  // namespace quorvel
