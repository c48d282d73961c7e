#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorvel {

/// What is known of an exception that nobody caught.
struct UncaughtException {
    std::string name;
    std::optional<std::string> reason;
    /// One line a frame of the throw, the innermost first: function, file and line.
    std::vector<std::string> callStackSymbols;
};

}  // namespace quorvel
