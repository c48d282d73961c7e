#include "cli/Table.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string_view>

#include "platform/System.h"
#include "platform/text/DisplayText.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

using Kind = Table::Kind;

constexpr std::size_t gap = 2;
/// Where a line begins that goes on with a row which had no room.
constexpr std::size_t continuationIndent = 4;
/// Names keep this much on a terminal, however narrow.
constexpr std::size_t minNameWidth = 12;
/// Off a terminal, what is longer does not move the columns of the other rows.
constexpr std::size_t maxNameWidth = 60;
constexpr std::size_t maxVersionWidth = 16;
/// A column for text is of use from here on; a wider one takes room of names until they have no more than
/// this.
constexpr std::size_t minTextWidth = 24;
constexpr std::size_t goodTextWidth = 32;
constexpr std::size_t goodNameWidth = 20;

struct Piece {
    std::string_view text;
    std::size_t width;
};

/// As many of the first grapheme clusters as fit.
Piece fitting(std::string_view text, std::size_t room) {
    Piece piece{text.substr(0, 0), 0};
    std::size_t length = 0;
    for (const auto character : text::characters(text)) {
        const std::size_t width = text::displayWidth(character);
        if (piece.width + width > room) break;
        length += character.size();
        piece = {text.substr(0, length), piece.width + width};
    }
    return piece;
}

/// One row, written from left to right.
class RowWriter {
public:
    explicit RowWriter(std::size_t maxWidth) : maxWidth(maxWidth) {}

    void putName(const std::string& cell, std::size_t start, std::size_t width) {
        if (text::displayWidth(cell) <= width || maxWidth == unlimited) return put(cell, start);
        put(std::string(fitting(cell, width - 1).text) + "…", start);
    }

    void put(const std::string& cell, std::size_t start) {
        const std::size_t width = text::displayWidth(cell);
        if (isTaken(start)) breakLine();
        if (start + width > maxWidth && start > continuationIndent) {
            if (at > 0) breakLine();
            start = continuationIndent;
        }
        write(cell, width, start);
    }

    /// Broken into lines between words, and inside a word that is longer than a line. What goes beyond the
    /// first line stands below the whole row, and where there is no room for a line, all of it.
    void putText(std::string_view cell, std::size_t start, std::size_t room) {
        const bool isNarrow = std::min(text::displayWidth(cell), minTextWidth) > room;
        rest = cell;
        restStart = isNarrow ? continuationIndent : start;
        restRoom = isNarrow ? std::max<std::size_t>(maxWidth - restStart, 8) : room;
        if (isNarrow) return;
        if (isTaken(start)) breakLine();
        putLineOfRest();
    }

    std::string finish() {
        while (!rest.empty()) {
            if (at > 0) breakLine();
            putLineOfRest();
        }
        return std::move(lines);
    }

    static constexpr std::size_t unlimited = static_cast<std::size_t>(-1) / 2;

private:
    static std::string_view firstLine(std::string_view text, std::size_t room) {
        const auto [piece, width] = fitting(text, room);
        if (piece.size() == text.size() || text[piece.size()] == ' ') return piece;
        const auto space = piece.rfind(' ');
        if (space != std::string_view::npos && space > 0) return piece.substr(0, space);
        // Not even one character has room: one is shown all the same.
        return piece.empty() ? text::firstGraphemes(text, 1) : piece;
    }

    void putLineOfRest() {
        const std::string_view line = firstLine(rest, restRoom);
        write(line, text::displayWidth(line), restStart);
        rest.remove_prefix(line.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    }

    bool isTaken(std::size_t start) const { return at > 0 && at + gap > start; }

    void breakLine() {
        lines += '\n';
        at = 0;
    }

    void write(std::string_view cell, std::size_t width, std::size_t start) {
        lines.append(start - at, ' ').append(isolated(cell));
        at = start + width;
    }

    const std::size_t maxWidth;
    std::string lines;
    /// The column of the screen that comes next.
    std::size_t at = 0;
    /// What is left of the row's text.
    std::string_view rest;
    std::size_t restStart = 0;
    std::size_t restRoom = 0;
};

struct Layout {
    std::size_t maxWidth = 0;
    std::size_t nameWidth = 0;
    /// What the other columns leave for a text.
    std::size_t textRoom = 0;
    std::vector<std::size_t> starts;
};

/// The widest cell of a column, but for those that go beyond `limit`.
std::size_t widest(const Table& table, std::size_t column, std::size_t limit) {
    std::size_t width = text::displayWidth(table.columns[column].heading);
    for (const auto& row : table.rows) {
        const std::size_t cell = text::displayWidth(row[column]);
        if (cell <= limit) width = std::max(width, cell);
    }
    return width;
}

std::size_t nameWidth(const Table& table, const std::vector<std::size_t>& widths, std::size_t maxWidth) {
    std::size_t others = gap;
    std::size_t text = 0;
    for (std::size_t column = 1; column < widths.size(); ++column) {
        if (table.columns[column].kind == Kind::text) {
            text = gap + widths[column];
        } else {
            others += gap + widths[column];
        }
    }
    if (others + text + goodNameWidth > maxWidth) text = std::min(text, gap + goodTextWidth);
    if (others + text + goodNameWidth > maxWidth) text = std::min(text, gap + minTextWidth);
    // Where the name and the text do not both have room, the text goes into a line of its own.
    if (others + text + minNameWidth > maxWidth) text = 0;
    const std::size_t room = maxWidth - std::min(maxWidth, others + text);
    return std::min(widths.front(), std::max(room, minNameWidth));
}

Layout layOut(const Table& table, const Terminal& terminal) {
    Layout layout;
    layout.maxWidth = terminal.width.value_or(RowWriter::unlimited);
    std::vector<std::size_t> widths;
    for (std::size_t column = 0; column < table.columns.size(); ++column) {
        const Kind kind = table.columns[column].kind;
        const std::size_t limit = kind == Kind::version                   ? maxVersionWidth
                                  : kind == Kind::name && !terminal.width ? maxNameWidth
                                                                          : RowWriter::unlimited;
        widths.push_back(widest(table, column, limit));
    }
    layout.nameWidth = widths.front() = nameWidth(table, widths, layout.maxWidth);
    const auto text = std::ranges::find(table.columns, Kind::text, &Table::Column::kind);
    if (text != table.columns.end()) {
        auto& width = widths[static_cast<std::size_t>(text - table.columns.begin())];
        const std::size_t others = std::accumulate(widths.begin(), widths.end(), gap * widths.size()) - width;
        layout.textRoom = layout.maxWidth - std::min(layout.maxWidth, others);
        width = std::min(width, layout.textRoom);
    }
    std::size_t start = gap;
    for (const std::size_t width : widths) {
        layout.starts.push_back(start);
        start += width + gap;
    }
    return layout;
}

std::string renderRow(const Table& table, const Layout& layout, const std::vector<std::string>& cells) {
    RowWriter writer(layout.maxWidth);
    for (std::size_t column = 0; column < cells.size(); ++column) {
        const std::size_t start = layout.starts[column];
        switch (table.columns[column].kind) {
            case Kind::name:
                writer.putName(cells[column], start, layout.nameWidth);
                break;
            case Kind::version:
            case Kind::phrase:
                writer.put(cells[column], start);
                break;
            case Kind::text:
                writer.putText(cells[column], start, layout.textRoom);
                break;
        }
    }
    return writer.finish();
}

}  // namespace

std::string section(const std::string& title, Table table, const Terminal& terminal) {
    if (table.rows.empty()) return "";
    const auto inColour = [&](const char* sequence, const std::string& line) {
        return terminal.colour ? sequence + line + "\x1b[0m\n" : line + "\n";
    };
    for (auto& row : table.rows) {
        for (auto& cell : row)
            cell = onOneLine(cell);
    }
    const Layout layout = layOut(table, terminal);
    std::vector<std::string> headings;
    headings.reserve(table.columns.size());
    for (const auto& column : table.columns)
        headings.push_back(column.heading);
    std::string text = inColour("\x1b[1;32m", title + " (" + std::to_string(table.rows.size()) + ")") +
                       inColour("\x1b[1m", renderRow(table, layout, headings));
    for (const auto& row : table.rows)
        text += renderRow(table, layout, row) + "\n";
    return text + "\n";
}

Table sortedByName(Table table) {
    const text::NameCollator collator(userLocale());
    std::ranges::stable_sort(table.rows, {}, [&](const auto& row) { return collator.sortKey(row.front()); });
    return table;
}

std::string counted(std::size_t number, const std::string& one) {
    return std::to_string(number) + " " + one + (number == 1 ? "" : "s");
}

std::string clause(const std::string& before, std::size_t number, const std::string& one,
                   const std::string& after) {
    return number == 0 ? "" : "; " + before + counted(number, one) + after;
}

}  // namespace quorvel
