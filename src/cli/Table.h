#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>
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

    /// Texts from outside as they are.
    void add(std::initializer_list<std::string_view> cells) { rows.emplace_back(cells.begin(), cells.end()); }

    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows{};
};

/// The table under a title with the number of rows; nothing without rows. On a terminal, its lines fit the
/// width, unless a version alone is wider; elsewhere nothing is cut or broken into lines but behind a very
/// long name.
std::string section(const std::string& title, Table table, const Terminal& terminal);

/// People look for a name; another order says nothing to them. The name is a row's first cell.
Table sortedByName(Table table);

/// "1 host", "2 hosts".
std::string counted(std::size_t number, const std::string& one);

/// The same as one more clause of a sentence, "; ...2 hosts..."; nothing of none.
std::string clause(const std::string& before, std::size_t number, const std::string& one,
                   const std::string& after);

}  // namespace quorvel
