#include "platform/Menu.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "platform/text/DisplayText.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// In columns, of which a wide character takes two.
constexpr std::size_t maxLineWidth = 60;
constexpr std::size_t maxVersionWidth = 32;
constexpr std::size_t maxLines = 4;
/// More than any writing needs; a family of emoji, the longest character there is, takes 41 for two columns.
constexpr std::size_t maxBytesPerColumn = 16;

constexpr std::string_view ellipsis = "…";
constexpr std::string_view leftToRightMark = "\u200E";

/// How many bytes of `text`, which is on one line, fit into `columns`. A character without a width counts
/// too, and one that carries marks without end counts as the columns that its bytes would fill: a text of
/// nothing else would have no end.
std::size_t fitting(std::string_view text, std::size_t columns) {
    // Which takes a long menu most of its time.
    if (text::isAscii(text)) return std::min(text.size(), columns);
    std::size_t bytes = 0, width = 0;
    for (const auto character : text::characters(text)) {
        width +=
            std::max({std::size_t{1}, text::displayWidth(character), character.size() / maxBytesPerColumn});
        if (width > columns) break;
        bytes += character.size();
    }
    return bytes;
}

std::string cut(std::string_view text, std::size_t columns) {
    if (fitting(text, columns) == text.size()) return std::string(text);
    return std::string(text.substr(0, fitting(text, columns - 1))).append(ellipsis);
}

/// Breaks `text` at its spaces; a word that is wider than a line breaks where the line ends.
std::string wrapped(std::string_view text) {
    std::string lines;
    for (std::size_t count = 1; count < maxLines && fitting(text, maxLineWidth) < text.size(); ++count) {
        const auto room = fitting(text, maxLineWidth);
        // A character that fits no line ends the title.
        if (fitting(text.substr(room), maxLineWidth) == 0) break;
        const auto space = text.substr(0, room + 1).rfind(' ');
        const bool breaksAtSpace = space != std::string_view::npos && space > 0;
        lines.append(text.substr(0, breaksAtSpace ? space : room)) += '\n';
        text.remove_prefix(breaksAtSpace ? space + 1 : room);
    }
    return lines + cut(text, maxLineWidth);
}

/// A mark at the start of a line with isolates gives the line its direction for those who look through an
/// isolate when they search the first letter that has one.
std::string displayLine(const std::vector<TitleRun>& runs, std::size_t maxFirstWidth) {
    std::string line;
    bool isMixed = false;
    for (const auto& run : runs) {
        if (!run.isFromOutside) {
            line += run.text;
            continue;
        }
        const auto text = cut(onOneLine(run.text), &run == &runs.front() ? maxFirstWidth : maxVersionWidth);
        isMixed = isMixed || containsRightToLeft(text);
        line += isolated(text);
    }
    return isMixed ? std::string(leftToRightMark).append(line) : line;
}

}  // namespace

std::string displayTitle(const MenuItem& item) {
    if (item.title.size() == 1 && item.detail.empty()) return wrapped(onOneLine(item.title.front().text));
    const std::string title = displayLine(item.title, maxLineWidth);
    return item.detail.empty() ? title : title + '\n' + displayLine(item.detail, maxVersionWidth);
}

}  // namespace quorvel
