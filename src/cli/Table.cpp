#include "cli/Table.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/Text.h"

namespace quorvel {

namespace {

constexpr std::string_view columnGap = "  ";
/// A text wider than this takes its room from its own row alone.
constexpr std::size_t widestAligned = 36;

std::vector<std::size_t> columnWidths(const Table& table) {
    std::vector<std::size_t> widths;
    widths.reserve(table.headings.size());
    for (const auto& heading : table.headings)
        widths.push_back(text::displayWidth(heading));
    for (const auto& row : table.rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            const std::size_t width = text::displayWidth(row[column]);
            if (width <= widestAligned) widths[column] = std::max(widths[column], width);
        }
    }
    return widths;
}

std::string line(const std::vector<std::string>& cells, const std::vector<std::size_t>& widths) {
    std::string line;
    for (std::size_t column = 0; column < cells.size(); ++column) {
        line.append(columnGap).append(cells[column]);
        if (column + 1 == cells.size()) break;
        const std::size_t width = text::displayWidth(cells[column]);
        if (width < widths[column]) line.append(widths[column] - width, ' ');
    }
    return line;
}

/// The length in bytes of the UTF-8 character at the start of `rest`.
std::size_t characterLength(std::string_view rest) {
    std::size_t length = 1;
    while (length < rest.size() && (static_cast<unsigned char>(rest[length]) & 0xC0) == 0x80)
        ++length;
    return length;
}

std::string cutTo(const std::string& line, std::size_t width) {
    if (text::displayWidth(line) <= width) return line;
    std::size_t end = 0;
    while (end < line.size()) {
        const std::size_t next = end + characterLength(std::string_view(line).substr(end));
        if (text::displayWidth(line.substr(0, next)) + 1 > width) break;
        end = next;
    }
    return line.substr(0, end) + "…";
}

}  // namespace

std::string render(const Table& table, const Terminal& terminal) {
    const auto widths = columnWidths(table);
    const auto fitted = [&](const std::vector<std::string>& cells) {
        const auto whole = line(cells, widths);
        return terminal.width ? cutTo(whole, *terminal.width) : whole;
    };
    const std::string headings = fitted(table.headings);
    std::string text = terminal.colour ? "\x1b[1m" + headings + "\x1b[0m\n" : headings + "\n";
    for (const auto& row : table.rows)
        text += fitted(row) + "\n";
    return text;
}

}  // namespace quorvel
