#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

namespace quorvel::text {
namespace {

constexpr UChar32 replacementCharacter = 0xFFFD;
constexpr UChar32 emojiPresentationSelector = 0xFE0F;

UChar32 nextRepaired(std::string_view text, std::size_t& offset) {
    const UChar32 codePoint = nextCodePoint(text, offset);
    return codePoint < 0 ? replacementCharacter : codePoint;
}

UChar32 firstCodePoint(std::string_view text) {
    std::size_t offset = 0;
    return nextRepaired(text, offset);
}

/// The last code point of `text`, which is not empty.
UChar32 lastCodePoint(std::string_view text) {
    if (U8_IS_SINGLE(text.back())) return text.back();
    std::size_t start = text.size() - 1;
    while (start > 0 && U8_IS_TRAIL(text[start]))
        --start;
    const UChar32 codePoint = nextRepaired(text, start);
    return start == text.size() ? codePoint : replacementCharacter;
}

bool isTrimmed(UChar32 codePoint) {
    return codePoint == '\t' || codePoint == ' ' ||
           (codePoint >= 0x80 && u_charType(codePoint) == U_SPACE_SEPARATOR);
}

/// Opening a break iterator costs far more than using it, and one may not be shared between threads.
UBreakIterator* characterBreaks() {
    struct Close {
        void operator()(UBreakIterator* open) const { ubrk_close(open); }
    };
    thread_local const std::unique_ptr<UBreakIterator, Close> breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<UBreakIterator, Close> opened(ubrk_open(UBRK_CHARACTER, "", nullptr, 0, &status));
        if (U_FAILURE(status)) throw std::runtime_error("ICU has no data for character boundaries");
        return opened;
    }();
    return breaks.get();
}

std::size_t codePointWidth(UChar32 codePoint) {
    if (u_hasBinaryProperty(codePoint, UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) return 0;
    constexpr std::uint32_t invisible = U_GC_C_MASK & ~(U_GC_CN_MASK | U_GC_CO_MASK);
    constexpr std::uint32_t zeroWidth = invisible | U_GC_MN_MASK | U_GC_ME_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK;
    if ((U_MASK(u_charType(codePoint)) & zeroWidth) != 0) return 0;
    if (u_hasBinaryProperty(codePoint, UCHAR_EMOJI_PRESENTATION)) return 2;
    const int width = u_getIntPropertyValue(codePoint, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

/// A character is as wide as its widest code point: marks and joiners are drawn upon their base.
std::size_t characterWidth(std::string_view character) {
    const bool mayBeEmoji = u_hasBinaryProperty(firstCodePoint(character), UCHAR_EMOJI);
    std::size_t width = 0;
    for (std::size_t offset = 0; offset < character.size();) {
        const UChar32 codePoint = nextRepaired(character, offset);
        if (mayBeEmoji && codePoint == emojiPresentationSelector) return 2;
        width = std::max(width, codePointWidth(codePoint));
    }
    return width;
}

std::u16string utf16Of(std::string_view text) {
    std::u16string units(text.size(), u'\0');
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), static_cast<std::int32_t>(units.size()), &length, text.data(),
                         static_cast<std::int32_t>(text.size()), replacementCharacter, nullptr, &status);
    if (U_FAILURE(status)) throw std::length_error("text is too long for ICU");
    units.resize(static_cast<std::size_t>(length));
    return units;
}

using Transform = std::int32_t (*)(char16_t* result, std::int32_t capacity, const char16_t* units,
                                   std::int32_t count, UErrorCode* status);

/// What one of ICU's functions for UTF-16 makes of `text`.
std::string transformed(std::string_view text, Transform transform) {
    const std::u16string units = utf16Of(text);
    // Neither lower case nor composition takes more than three times the room, nor does UTF-8.
    std::u16string result(units.size() * 3, u'\0');
    std::string utf8(result.size() * 3, '\0');
    std::int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    const std::int32_t count = transform(result.data(), static_cast<std::int32_t>(result.size()),
                                         units.data(), static_cast<std::int32_t>(units.size()), &status);
    u_strToUTF8(utf8.data(), static_cast<std::int32_t>(utf8.size()), &length, result.data(), count, &status);
    if (U_FAILURE(status)) throw std::length_error("text is too long for ICU");
    utf8.resize(static_cast<std::size_t>(length));
    return utf8;
}

}  // namespace

std::int32_t nextCodePoint(std::string_view text, std::size_t& offset) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const std::size_t length = text.size();
    UChar32 codePoint = 0;
    U8_NEXT(bytes, offset, length, codePoint);
    return codePoint;
}

bool isAscii(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    for (std::uint64_t eight = 0; text.size() >= sizeof eight; text.remove_prefix(sizeof eight)) {
        std::memcpy(&eight, text.data(), sizeof eight);
        if ((eight & highBits) != 0) return false;
    }
    return std::ranges::all_of(text, [](char byte) { return U8_IS_SINGLE(byte); });
}

bool isValidUtf8(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        if (nextCodePoint(text, offset) < 0) return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view text) {
    std::string repaired;
    std::size_t sound = 0;
    for (std::size_t offset = 0; offset < text.size();) {
        const std::size_t start = offset;
        if (nextCodePoint(text, offset) >= 0) continue;
        repaired.append(text.substr(sound, start - sound)).append("\uFFFD");
        sound = offset;
    }
    return repaired.append(text.substr(sound));
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isTrimmed(lastCodePoint(text)))
        text.remove_suffix(static_cast<std::size_t>(U8_LENGTH(lastCodePoint(text))));
    while (!text.empty() && isTrimmed(firstCodePoint(text)))
        text.remove_prefix(static_cast<std::size_t>(U8_LENGTH(firstCodePoint(text))));
    return text;
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> found;
    std::size_t start = 0;
    const auto endAt = [&](std::size_t end) {
        found.push_back(text.substr(start, end - start));
        start = end;
    };
    if (isAscii(text) && !text.contains("\r\n")) {
        found.reserve(text.size());
        while (start < text.size())
            endAt(start + 1);
        return found;
    }
    UErrorCode status = U_ZERO_ERROR;
    UText source = UTEXT_INITIALIZER;
    utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
    UBreakIterator* const breaks = characterBreaks();
    ubrk_setUText(breaks, &source, &status);  // keeps a shallow copy of its own
    utext_close(&source);
    if (U_FAILURE(status)) throw std::length_error("text is too long for ICU");
    for (auto next = ubrk_next(breaks); next != UBRK_DONE; next = ubrk_next(breaks))
        endAt(static_cast<std::size_t>(next));
    return found;
}

std::size_t graphemeCount(std::string_view text) {
    return characters(text).size();
}

std::string_view firstGraphemes(std::string_view text, std::size_t count) {
    const auto all = characters(text);
    return count < all.size() ? std::string_view(text.begin(), all[count].begin()) : text;
}

bool isNumeric(std::string_view character) {
    return u_getNumericValue(firstCodePoint(character)) != U_NO_NUMERIC_VALUE;
}

bool isDecimalDigit(std::string_view character) {
    std::size_t length = 0;
    return u_isdigit(nextRepaired(character, length)) && length == character.size();
}

bool isWhiteSpace(std::string_view character) {
    std::size_t length = 0;
    return u_isUWhiteSpace(nextRepaired(character, length)) &&
           (length == character.size() || character == "\r\n");
}

bool containsNumericCharacter(std::string_view text) {
    if (isAscii(text)) return text.find_first_of("0123456789") != std::string_view::npos;
    return std::ranges::any_of(characters(text), isNumeric);
}

std::string_view numericPrefix(std::string_view text) {
    const auto all = characters(text);
    const auto end = std::ranges::find_if_not(all, isNumeric);
    return end == all.end() ? text : std::string_view(text.begin(), end->begin());
}

std::optional<std::size_t> findDecimalDigit(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        const std::size_t start = offset;
        if (u_isdigit(nextRepaired(text, offset))) return start;
    }
    return std::nullopt;
}

std::string lowerCased(std::string_view text) {
    std::string lower;
    if (isAscii(text)) {
        lower = text;
        for (char& byte : lower) {
            if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
        }
        return lower;
    }
    return transformed(
        text, [](char16_t* result, std::int32_t capacity, const char16_t* units, std::int32_t count,
                 UErrorCode* status) { return u_strToLower(result, capacity, units, count, "", status); });
}

std::string composed(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    return transformed(text, [](char16_t* result, std::int32_t capacity, const char16_t* units,
                                std::int32_t count, UErrorCode* status) {
        return unorm2_normalize(unorm2_getNFCInstance(status), units, count, result, capacity, status);
    });
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (const auto character : characters(text))
        width += characterWidth(character);
    return width;
}

void NameCollator::Close::operator()(UCollator* open) const {
    ucol_close(open);
}

NameCollator::NameCollator(const std::string& locale) {
    std::array<char, ULOC_FULLNAME_CAPACITY> canonical{};
    UErrorCode status = U_ZERO_ERROR;
    uloc_canonicalize(locale.c_str(), canonical.data(), static_cast<std::int32_t>(canonical.size() - 1),
                      &status);
    collator.reset(ucol_open(canonical.data(), &status));
    if (U_FAILURE(status)) {
        // The environment may hold any text; ICU refuses what cannot be a locale's name.
        status = U_ZERO_ERROR;
        collator.reset(ucol_open("", &status));
    }
    // Accents count, case does not.
    ucol_setAttribute(collator.get(), UCOL_STRENGTH, UCOL_SECONDARY, &status);
    // Names come from files and may be decomposed in an order that the quick path does not expect.
    ucol_setAttribute(collator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    if (U_FAILURE(status)) throw std::runtime_error("ICU has no data for collation");
}

std::string NameCollator::sortKey(std::string_view name) const {
    const std::u16string units = utf16Of(name);
    std::string key(name.size() * 2 + 16, '\0');
    const auto write = [&] {
        const auto written = ucol_getSortKey(
            collator.get(), units.data(), static_cast<std::int32_t>(units.size()),
            reinterpret_cast<std::uint8_t*>(key.data()), static_cast<std::int32_t>(key.size()));
        return static_cast<std::size_t>(written);
    };
    std::size_t length = write();
    if (length > key.size()) {
        key.resize(length);
        length = write();
    }
    key.resize(length == 0 ? 0 : length - 1);  // without the closing NUL
    return key;
}

}  // namespace quorvel::text
