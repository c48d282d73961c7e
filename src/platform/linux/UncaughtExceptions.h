#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

/// What is known of an exception that nobody caught.
struct ExceptionReport {
    std::string name;
    std::optional<std::string> reason;
    /// One line a frame of the throw, the innermost first: function, file and line.
    std::vector<std::string> callStackSymbols;
};

/// Makes `handler` what a terminating process runs last, on whatever thread it is, and remembers from now on
/// where exceptions are thrown. When the handler returns, or fails in its turn, the process ends with
/// status 1. Once a process.
void onUncaughtException(std::function<void(const ExceptionReport&)> handler);

/// For a top-level catch: what the exception that is being handled says. Only inside a catch block.
ExceptionReport reportCurrentException();

}  // namespace quorvel
