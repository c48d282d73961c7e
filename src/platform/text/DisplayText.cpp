#include "platform/text/DisplayText.h"

#include <cstddef>
#include <cstdint>
#include <unicode/uchar.h>
#include <unicode/utf.h>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

bool isBidiControl(UChar32 codePoint) {
    const bool isEmbeddingOrOverride = codePoint >= 0x202A && codePoint <= 0x202E;
    const bool isIsolate = codePoint >= 0x2066 && codePoint <= 0x2069;
    return isEmbeddingOrOverride || isIsolate;
}

}  // namespace

std::string onOneLine(std::string_view text) {
    constexpr std::uint32_t controlsAndSeparators = U_GC_CC_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK;
    std::string line;
    line.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size();) {
        const std::size_t start = offset;
        const UChar32 codePoint = text::nextCodePoint(text, offset);
        if (codePoint < 0) {
            line += "\uFFFD";
        } else if ((U_GET_GC_MASK(codePoint) & controlsAndSeparators) != 0) {
            line += ' ';
        } else if (!isBidiControl(codePoint) && !U_IS_UNICODE_NONCHAR(codePoint)) {
            line += text.substr(start, offset - start);
        }
    }
    return line;
}

bool containsRightToLeft(std::string_view text) {
    if (text::isAscii(text)) return false;
    for (std::size_t offset = 0; offset < text.size();) {
        const auto direction = u_charDirection(text::nextCodePoint(text, offset));
        if (direction == U_RIGHT_TO_LEFT || direction == U_RIGHT_TO_LEFT_ARABIC ||
            direction == U_ARABIC_NUMBER)
            return true;
    }
    return false;
}

std::string isolated(std::string_view text) {
    if (!containsRightToLeft(text)) return std::string(text);
    return "\u2068" + std::string(text) + "\u2069";
}

}  // namespace quorvel
