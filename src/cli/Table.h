#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/Console.h"

namespace quorvel {

/// A table for people: columns aligned by the width that their texts take on a screen.
struct Table {
    enum class Kind {
        name,     ///< cut to what the other columns leave
        version,  ///< never cut; a very long one does not widen the column for the others
        phrase,   ///< never cut, one of a few
        text      ///< never cut: goes on below the row; one column at the most
    };
    struct Column {
        std::string heading;
        Kind kind;
    };

    std::vector<Column> columns;
    /// Texts from outside as they are.
    std::vector<std::vector<std::string>> rows;
};

/// The table's lines, each with a line feed at its end. On a terminal, they fit its width, unless a version
/// alone is wider; elsewhere nothing is cut or broken into lines but behind a very long name.
std::string render(const Table& table, const Terminal& terminal);

/// The same under a title with the number of rows; nothing without rows.
std::string section(const std::string& title, const Table& table, const Terminal& terminal);

/// People look for a name; another order says nothing to them. The name is a row's first cell.
void sortByName(Table& table);

/// "1 host", "2 hosts".
std::string counted(std::size_t number, const std::string& one);

}  // namespace quorvel
