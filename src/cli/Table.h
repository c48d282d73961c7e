#pragma once

#include <string>
#include <vector>

#include "cli/Terminal.h"

namespace quorvel {

/// A table for people: columns aligned by the width that their texts take on a screen.
struct Table {
    std::vector<std::string> headings;
    std::vector<std::vector<std::string>> rows;
};

/// The table's lines, each with a line feed at its end. A row with a very long text does not widen its column
/// for the others. On a terminal, lines are cut to its width; elsewhere nothing is.
std::string render(const Table& table, const Terminal& terminal);

}  // namespace quorvel
