#pragma once

#include <cstddef>
#include <optional>

namespace quorvel {

/// What one of the standard streams can show.
struct Terminal {
    /// False also for a terminal that knows no controls.
    bool isTerminal = false;
    /// False also when the user set NO_COLOR.
    bool colour = false;
    /// In columns; none when the stream is no terminal, and nothing is cut.
    std::optional<std::size_t> width;
};

Terminal describeTerminal(int descriptor);

}  // namespace quorvel
