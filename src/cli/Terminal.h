#pragma once

#include <cstddef>
#include <optional>

namespace quorvel {

/// What one of the standard streams can show.
struct Terminal {
    bool isTerminal = false;
    /// Whether it takes escape sequences; the rest needs that too.
    bool hasControls = false;
    /// False also when the user set NO_COLOR.
    bool colour = false;
    /// In columns; none where nothing is to be cut.
    std::optional<std::size_t> width;
};

Terminal describeTerminal(int descriptor);

}  // namespace quorvel
