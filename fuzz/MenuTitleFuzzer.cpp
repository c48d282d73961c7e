#include <cstdint>
#include <string>
#include <string_view>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <vector>

#include "FuzzSupport.h"
#include "platform/Menu.h"
#include "platform/text/DisplayText.h"

namespace {

using namespace quorvel;
using fuzz::require;

constexpr std::uint32_t controls = U_GC_CC_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK;
constexpr UChar32 firstEmbedding = 0x202A, lastOverride = 0x202E;
constexpr UChar32 leftToRightIsolate = 0x2066, firstStrongIsolate = 0x2068, popIsolate = 0x2069;

/// A line as a menu, a table or a label draws it.
void requireHarmless(std::string_view line) {
    fuzz::requireText(line);
    int openIsolates = 0;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(line.data());
    for (std::size_t index = 0; index < line.size();) {
        UChar32 character = 0;
        U8_NEXT(bytes, index, line.size(), character);
        require((U_MASK(u_charType(character)) & controls) == 0,
                "no control character and no line break is shown");
        require(character < firstEmbedding || character > lastOverride, "no direction is overridden");
        require(character < leftToRightIsolate || character >= firstStrongIsolate, "isolates are our own");
        require(!U_IS_UNICODE_NONCHAR(character), "no character is shown that a bus refuses");
        if (character == firstStrongIsolate) ++openIsolates;
        if (character == popIsolate) require(--openIsolates >= 0, "an isolate ends after it began");
    }
    require(openIsolates == 0, "an isolate ends on its line");
}

/// The widest line of a title made of parts: a name and two versions, isolated, and what we set between them.
constexpr std::size_t maxColumns = 60 + 2 * 32 + 8;
/// In bytes; no script needs more for a column.
constexpr std::size_t maxLineSize = maxColumns * 32;

void checkTitle(const MenuItem& item, std::size_t maxLines) {
    const std::string title = displayTitle(item);
    std::string_view rest = title;
    std::size_t lines = 0;
    do {
        const auto line = fuzz::takeUpTo("\n", rest);
        requireHarmless(line);
        require(text::displayWidth(line) <= maxColumns, "a line is no wider than a menu");
        require(line.size() <= maxLineSize, "a line is no longer than can be drawn");
        ++lines;
    } while (!rest.empty());
    require(lines <= maxLines, "a title has a few lines at most");
}

void checkLine(std::string_view bytes) {
    const std::string line = onOneLine(bytes);
    require(!line.contains("\u2068") && !line.contains("\u2069"), "isolates from outside are left out");
    requireHarmless(line);
    require(onOneLine(line) == line, "a harmless line stays as it is");
    requireHarmless(isolated(line));
}

}  // namespace

/// The input is up to three texts from outside with "|" between them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    checkLine(bytes);

    MenuItem item;
    item.title = {{std::string(bytes)}};
    checkTitle(item, 4);
    std::string_view rest = bytes;
    const TitleRun name{std::string(fuzz::takeUpTo("|", rest)), true},
        version{std::string(fuzz::takeUpTo("|", rest)), true}, latest{std::string(rest), true};
    item.title = {name, {" ("}, version, {" → "}, latest, {")"}};
    checkTitle(item, 1);
    item.title = {name};
    item.detail = {version, {" → "}, latest};
    checkTitle(item, 2);
    return 0;
}
