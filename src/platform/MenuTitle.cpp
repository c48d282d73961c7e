#include "platform/MenuTitle.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <vector>

#include "platform/text/DisplayText.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// In columns, of which a wide character takes two.
constexpr std::size_t widestLine = 60;
constexpr std::size_t widestVersion = 32;
constexpr std::size_t mostLines = 4;
/// More than any writing needs; a family of emoji, the longest character there is, takes 41 for two columns.
constexpr std::size_t bytesOfColumn = 16;

constexpr std::string_view ellipsis = "…";
constexpr std::string_view leftToRightMark = "\u200E";
constexpr std::string_view firstStrongIsolate = "\u2068";
constexpr std::string_view popDirectionalIsolate = "\u2069";

/// Each byte a character of one column, and none of them changes: no need to ask Unicode, which takes a long
/// menu most of its time.
bool isPlain(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte <= '~'; });
}

std::string harmless(const std::string& text) {
    if (isPlain(text)) return text;
    return onOneLine(text::repairedUtf8(text));
}

/// How many bytes of `text` fit into `columns`. A character without a width counts too, and one that carries
/// marks without end counts as the columns that its bytes would fill: a text of nothing else would have no
/// end.
std::size_t fitting(std::string_view text, std::size_t columns) {
    if (isPlain(text)) return std::min(text.size(), columns);
    std::size_t bytes = 0, width = 0;
    for (const auto character : text::characters(text)) {
        width += std::max({std::size_t{1}, text::displayWidth(character), character.size() / bytesOfColumn});
        if (width > columns) break;
        bytes += character.size();
    }
    return bytes;
}

std::string cut(const std::string& text, std::size_t columns) {
    if (fitting(text, columns) == text.size()) return text;
    return text.substr(0, fitting(text, columns - 1)).append(ellipsis);
}

/// Breaks `text` at its spaces; a word that is wider than a line breaks where the line ends.
std::string wrapped(std::string_view text) {
    std::string lines;
    for (std::size_t count = 1; count < mostLines && fitting(text, widestLine) < text.size(); ++count) {
        const auto most = fitting(text, widestLine);
        // A character that fits no line ends the title.
        if (fitting(text.substr(most), widestLine) == 0) break;
        const auto space = text.substr(0, most + 1).rfind(' ');
        const bool breaksAtSpace = space != std::string_view::npos && space > 0;
        lines.append(text.substr(0, breaksAtSpace ? space : most)) += '\n';
        text.remove_prefix(breaksAtSpace ? space + 1 : most);
    }
    return lines + cut(std::string(text), widestLine);
}

bool runsRightToLeft(const std::string& text) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    for (std::size_t index = 0; index < text.size();) {
        UChar32 character = 0;
        U8_NEXT(bytes, index, text.size(), character);
        const auto direction = u_charDirection(character);
        if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC ||
            direction == U_ARABIC_NUMBER)
            return true;
    }
    return false;
}

bool isFromOutside(std::size_t index) {
    return index % 2 == 0;
}

std::string isolated(const std::string& part) {
    return std::string(firstStrongIsolate).append(part).append(popDirectionalIsolate);
}

/// A mark at the start of each line gives the line its direction for those who look through an isolate when
/// they search the first letter that has one.
std::string isolated(const std::vector<std::string>& parts) {
    std::string title(leftToRightMark);
    for (std::size_t index = 0; index < parts.size(); ++index) {
        const bool isText = isFromOutside(index) && !parts[index].empty();
        title += isText ? isolated(parts[index]) : parts[index];
        if (parts[index] == "\n") title += leftToRightMark;
    }
    return title;
}

std::string joined(std::vector<std::string> parts) {
    bool isMixed = false;
    for (std::size_t index = 0; index < parts.size(); ++index) {
        if (!isFromOutside(index)) continue;
        parts[index] = cut(harmless(parts[index]), index == 0 ? widestLine : widestVersion);
        isMixed = isMixed || runsRightToLeft(parts[index]);
    }
    if (isMixed) return isolated(parts);
    std::string title;
    for (const auto& part : parts)
        title += part;
    return title;
}

}  // namespace

std::string displayTitle(const MenuItem& item) {
    if (!item.titleParts.empty()) return joined(item.titleParts);
    if (const auto& two = item.attributedTitle)
        return cut(harmless(two->name), widestLine) + '\n' + cut(harmless(two->detail), widestLine);
    return wrapped(harmless(item.title));
}

}  // namespace quorvel
