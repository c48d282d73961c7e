#include "platform/text/Text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include "platform/text/Characters.h"

namespace quorvel::text {
namespace {

constexpr UChar32 replacementCharacter = 0xFFFD;
constexpr UChar32 emojiPresentationSelector = 0xFE0F;

/// The code point at `offset`, which moves past it. A malformed sequence gives a negative value and moves
/// past its maximal subpart: the bytes that begin a sequence and are not contradicted yet.
UChar32 nextStrict(std::string_view text, std::size_t& offset) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const std::size_t length = text.size();
    UChar32 codePoint = 0;
    U8_NEXT(bytes, offset, length, codePoint);
    return codePoint;
}

UChar32 nextCodePoint(std::string_view text, std::size_t& offset) {
    const UChar32 codePoint = nextStrict(text, offset);
    return codePoint < 0 ? replacementCharacter : codePoint;
}

UChar32 firstCodePoint(std::string_view text) {
    std::size_t offset = 0;
    return nextCodePoint(text, offset);
}

bool isAsciiDigit(char byte) {
    return byte >= '0' && byte <= '9';
}

bool isNumeric(UChar32 codePoint) {
    return u_getNumericValue(codePoint) != U_NO_NUMERIC_VALUE;
}

bool isTrimmed(UChar32 codePoint) {
    return codePoint == '\t' || u_charType(codePoint) == U_SPACE_SEPARATOR;
}

/// Opening a break iterator costs far more than using it, and one may not be shared between threads.
icu::BreakIterator& characterBreaks() {
    thread_local const std::unique_ptr<icu::BreakIterator> breaks = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> made(
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
        if (U_FAILURE(status)) throw std::runtime_error("ICU has no data for character boundaries");
        return made;
    }();
    return *breaks;
}

/// Calls `visit` with each character in order until it returns false.
template <typename Visit>
void visitCharacters(std::string_view text, Visit visit) {
    UErrorCode status = U_ZERO_ERROR;
    UText source = UTEXT_INITIALIZER;
    utext_openUTF8(&source, text.data(), static_cast<std::int64_t>(text.size()), &status);
    icu::BreakIterator& breaks = characterBreaks();
    breaks.setText(&source, status);  // keeps a shallow copy of its own
    utext_close(&source);
    if (U_FAILURE(status)) throw std::length_error("text is too long for ICU");

    std::size_t start = 0;
    for (auto next = breaks.next(); next != icu::BreakIterator::DONE; next = breaks.next()) {
        const auto end = static_cast<std::size_t>(next);
        if (!visit(text.substr(start, end - start))) return;
        start = end;
    }
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
        const UChar32 codePoint = nextCodePoint(character, offset);
        if (mayBeEmoji && codePoint == emojiPresentationSelector) return 2;
        width = std::max(width, codePointWidth(codePoint));
    }
    return width;
}

/// The locale that the environment asks to sort by, in ICU's form. "C" and "POSIX" name no language, for
/// which ICU takes the root locale.
std::string collationLocale() {
    for (const char* const name : {"LC_ALL", "LC_COLLATE", "LANG"}) {
        const char* const value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        std::array<char, ULOC_FULLNAME_CAPACITY> canonical{};
        UErrorCode status = U_ZERO_ERROR;
        const auto capacity = static_cast<std::int32_t>(canonical.size());
        const auto length = uloc_canonicalize(value, canonical.data(), capacity, &status);
        if (U_FAILURE(status) || length >= capacity) return "";
        return std::string(canonical.data(), static_cast<std::size_t>(length));
    }
    return "";
}

}  // namespace

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return (byte & 0x80) == 0; });
}

bool isValidUtf8(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        if (nextStrict(text, offset) < 0) return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    for (std::size_t offset = 0; offset < text.size();) {
        const std::size_t start = offset;
        if (nextStrict(text, offset) < 0) {
            repaired += "\uFFFD";
        } else {
            repaired += text.substr(start, offset - start);
        }
    }
    return repaired;
}

std::string_view trimmed(std::string_view text) {
    std::size_t first = text.size();
    std::size_t end = text.size();
    for (std::size_t offset = 0; offset < text.size();) {
        const std::size_t start = offset;
        if (isTrimmed(nextCodePoint(text, offset))) continue;
        first = std::min(first, start);
        end = offset;
    }
    return text.substr(first, end - first);
}

bool containsNumericCharacter(std::string_view text) {
    if (isAscii(text)) return std::ranges::any_of(text, isAsciiDigit);
    bool found = false;
    visitCharacters(text, [&](std::string_view character) {
        found = isNumeric(firstCodePoint(character));
        return !found;
    });
    return found;
}

std::string_view numericPrefix(std::string_view text) {
    std::size_t length = 0;
    if (isAscii(text)) {
        while (length < text.size() && isAsciiDigit(text[length]))
            ++length;
        return text.substr(0, length);
    }
    visitCharacters(text, [&](std::string_view character) {
        if (!isNumeric(firstCodePoint(character))) return false;
        length += character.size();
        return true;
    });
    return text.substr(0, length);
}

std::optional<std::size_t> findDecimalDigit(std::string_view text) {
    for (std::size_t offset = 0; offset < text.size();) {
        const std::size_t start = offset;
        if (u_isdigit(nextCodePoint(text, offset))) return start;
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
    const std::string repaired = repairedUtf8(text);
    icu::StringByteSink<std::string> sink(&lower);
    UErrorCode status = U_ZERO_ERROR;
    icu::CaseMap::utf8ToLower("", 0, repaired, sink, nullptr, status);
    return U_SUCCESS(status) ? lower : repaired;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    if (isAscii(text)) {
        return static_cast<std::size_t>(
            std::count_if(text.begin(), text.end(), [](char byte) { return byte >= ' ' && byte != 0x7F; }));
    }
    visitCharacters(text, [&](std::string_view character) {
        width += characterWidth(character);
        return true;
    });
    return width;
}

std::vector<std::string_view> characters(std::string_view text) {
    std::vector<std::string_view> found;
    visitCharacters(text, [&](std::string_view character) {
        found.push_back(character);
        return true;
    });
    return found;
}

std::string composed(std::string_view text) {
    if (isAscii(text)) return std::string(text);
    const std::string repaired = repairedUtf8(text);
    std::string result;
    icu::StringByteSink<std::string> sink(&result);
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const normalizer = icu::Normalizer2::getNFCInstance(status);
    if (U_SUCCESS(status)) normalizer->normalizeUTF8(0, repaired, sink, nullptr, status);
    return U_SUCCESS(status) ? result : repaired;
}

struct NameCollator::Implementation {
    struct Close {
        void operator()(UCollator* collator) const { ucol_close(collator); }
    };
    std::unique_ptr<UCollator, Close> collator;
};

NameCollator::NameCollator(Order order) : implementation(std::make_unique<Implementation>()) {
    auto& collator = implementation->collator;
    UErrorCode status = U_ZERO_ERROR;
    collator.reset(ucol_open(order == Order::root ? "" : collationLocale().c_str(), &status));
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

NameCollator::~NameCollator() = default;

std::string NameCollator::sortKey(std::string_view name) const {
    const auto units =
        icu::UnicodeString::fromUTF8(icu::StringPiece(name.data(), static_cast<std::int32_t>(name.size())));
    const UCollator* const collator = implementation->collator.get();
    std::string key(name.size() * 2 + 16, '\0');
    const auto write = [&] {
        const auto written = ucol_getSortKey(collator, units.getBuffer(), units.length(),
                                             reinterpret_cast<std::uint8_t*>(key.data()),
                                             static_cast<std::int32_t>(key.size()));
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

std::size_t graphemeCount(std::string_view text) {
    std::size_t count = 0;
    visitCharacters(text, [&](std::string_view) {
        ++count;
        return true;
    });
    return count;
}

std::string_view firstGraphemes(std::string_view text, std::size_t count) {
    std::size_t length = 0;
    visitCharacters(text, [&](std::string_view character) {
        if (count == 0) return false;
        --count;
        length += character.size();
        return true;
    });
    return text.substr(0, length);
}

}  // namespace quorvel::text
