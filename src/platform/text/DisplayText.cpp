#include "platform/text/DisplayText.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

enum class Display { asItIs, space, nothing };

struct Character {
    std::size_t length;
    Display display;
};

/// U+FDD0 to U+FDEF and the last two of each plane, given the four bytes at the start of valid UTF-8.
bool isNoncharacter(const std::array<unsigned, 4>& byte) {
    if (byte[0] == 0xEF) {
        if (byte[1] == 0xB7) return byte[2] >= 0x90 && byte[2] <= 0xAF;
        return byte[1] == 0xBF && byte[2] >= 0xBE;
    }
    return byte[0] >= 0xF0 && (byte[1] & 0x0F) == 0x0F && byte[2] == 0xBF && byte[3] >= 0xBE;
}

/// The character at the start of valid UTF-8, as far as it needs care.
Character classify(std::string_view rest) {
    const auto byte = [rest](std::size_t index) {
        return index < rest.size() ? static_cast<unsigned char>(rest[index]) : 0U;
    };
    if (byte(0) < 0x20 || byte(0) == 0x7F) return {1, Display::space};
    // U+0080 to U+009F, the other half of the control characters.
    if (byte(0) == 0xC2 && byte(1) < 0xA0) return {2, Display::space};
    if (byte(0) == 0xE2 && byte(1) == 0x80) {
        // U+2028 and U+2029 separate lines and paragraphs; U+202A to U+202E embed and override directions.
        if (byte(2) == 0xA8 || byte(2) == 0xA9) return {3, Display::space};
        if (byte(2) >= 0xAA && byte(2) <= 0xAE) return {3, Display::nothing};
    }
    // U+2066 to U+2069 isolate directions.
    if (byte(0) == 0xE2 && byte(1) == 0x81 && byte(2) >= 0xA6 && byte(2) <= 0xA9)
        return {3, Display::nothing};
    if (isNoncharacter({byte(0), byte(1), byte(2), byte(3)}))
        return {byte(0) == 0xEF ? 3U : 4U, Display::nothing};
    return {1, Display::asItIs};
}

bool containsRightToLeft(std::string_view text) {
    const auto units = icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())});
    for (std::int32_t at = 0; at < units.length(); at = units.moveIndex32(at, 1)) {
        const auto direction = u_charDirection(units.char32At(at));
        if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC) return true;
    }
    return false;
}

}  // namespace

std::string onOneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const auto [length, display] = classify(text);
        if (display == Display::asItIs) line += text.substr(0, length);
        if (display == Display::space) line += ' ';
        text.remove_prefix(length < text.size() ? length : text.size());
    }
    return line;
}

std::string forTerminal(std::string_view text) {
    return onOneLine(text::repairedUtf8(text));
}

std::string isolated(std::string_view text) {
    if (!containsRightToLeft(text)) return std::string(text);
    return "\u2068" + std::string(text) + "\u2069";
}

}  // namespace quorvel
