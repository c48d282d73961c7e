#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <span>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/uregex.h>

#include "platform/text/Text.h"
#include "versions/VersionComparator.h"
#include "versions/VersionOrder.h"

namespace quorvel {
namespace {

using namespace std::literals;

constexpr std::string_view asciiPieces[] = {"0",
                                            "1",
                                            "2",
                                            "9",
                                            "10",
                                            ".",
                                            ".",
                                            ".",
                                            "v",
                                            "V",
                                            "b",
                                            "B",
                                            "rc",
                                            "-",
                                            "+",
                                            "(",
                                            ")",
                                            "(7)",
                                            " (12)",
                                            " ",
                                            "\t",
                                            "\n",
                                            "\r",
                                            "\r\n",
                                            "\v",
                                            "\f",
                                            "\0"sv,
                                            "\x7F",
                                            "18446744073709551616",
                                            "9223372036854775807",
                                            "000"};
constexpr std::string_view unicodePieces[] = {
    "0",    "1",      "9",  ".",    ".",        "v",    "b",      "+",      "(",      ")",
    " ",    "٣",      "½",  "一",   "É",        "e",    "\u0301", "\u200D", "\u00A0", "\u2028",
    "(١٢)", "\u0600", "😀", "\x80", "\xE2\x82", "\r\n", "\u0085", "ς",      "Σ"};
/// Few pieces, so that equal texts come up often, and no number beyond 64 bits.
constexpr std::string_view plainPieces[] = {"0", "1", "10", ".", ".", "a", "B", " (1)"};

using Pieces = std::span<const std::string_view>;

class RandomTexts {
public:
    explicit RandomTexts(Pieces alphabet) : pieces(alphabet) {}

    std::string next(std::size_t mostPieces = 9) {
        std::string text;
        for (std::size_t left = below(mostPieces + 1); left > 0; --left)
            text += pieces[below(pieces.size())];
        return text;
    }

private:
    std::size_t below(std::size_t bound) {
        return std::uniform_int_distribution<std::size_t>(0, bound - 1)(generator);
    }

    Pieces pieces;
    std::mt19937 generator{20240229};
};

std::string printed(std::string_view candidate, std::string_view baseline) {
    return testing::PrintToString(candidate) + " against " + testing::PrintToString(baseline);
}

TEST(VersionOrder, bothFormsAgreeOnAscii) {
    RandomTexts texts(asciiPieces);
    std::size_t newer = 0;
    for (int round = 0; round < 10000; ++round) {
        const std::string candidate = texts.next();
        const std::string baseline = texts.next();
        const bool expected = versionOrder::isNewerUnicode(candidate, baseline);
        ASSERT_EQ(versionOrder::isNewerAscii(candidate, baseline), expected) << printed(candidate, baseline);
        newer += expected ? 1 : 0;
    }
    EXPECT_GT(newer, 1000U) << "too few texts differ for the comparison to say much";
}

TEST(VersionOrder, neverPutsATextBeforeItselfNorTwoBeforeEachOther) {
    const VersionComparator comparator;
    for (const Pieces pieces : {Pieces(asciiPieces), Pieces(unicodePieces)}) {
        RandomTexts texts(pieces);
        for (int round = 0; round < 4000; ++round) {
            const std::string one = texts.next();
            const std::string other = texts.next();
            ASSERT_FALSE(comparator.isNewer(one, one)) << testing::PrintToString(one);
            ASSERT_FALSE(comparator.isNewer(one, other) && comparator.isNewer(other, one))
                << printed(one, other);
            ASSERT_EQ(comparator.isNewer(" \t" + one + "\u00A0", other), comparator.isNewer(one, other))
                << printed(one, other);
        }
    }
}

TEST(VersionOrder, isAWeakOrderWhileNumbersFitInto64Bits) {
    RandomTexts texts(plainPieces);
    std::vector<std::string> sample;
    while (sample.size() < 60)
        sample.push_back(texts.next(6));
    const auto isNewer = [](const std::string& one, const std::string& other) {
        return versionOrder::isNewerAscii(one, other);
    };
    for (const auto& one : sample) {
        for (const auto& two : sample) {
            if (isNewer(two, one)) continue;
            for (const auto& three : sample) {
                if (isNewer(three, two)) continue;
                // Not older, twice: then not older, and equal only when both are.
                ASSERT_FALSE(isNewer(three, one))
                    << printed(one, two) << ", " << testing::PrintToString(three);
                ASSERT_EQ(isNewer(one, three), isNewer(one, two) || isNewer(two, three))
                    << printed(one, two) << ", " << testing::PrintToString(three);
            }
        }
    }
}

/// What normalizeVersion makes of a text without a leading v and a plus sign, by the regular expression
/// itself.
std::string replacedByExpression(std::string_view trimmed) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<URegularExpression, decltype(&uregex_close)> expression(
        uregex_open(uR"(\s*\(\d+\)\s*$)", -1, 0, nullptr, &status), &uregex_close);
    const auto units =
        icu::UnicodeString::fromUTF8(icu::StringPiece(trimmed.data(), static_cast<int>(trimmed.size())));
    uregex_setText(expression.get(), units.getBuffer(), units.length(), &status);
    std::string result;
    if (!uregex_find(expression.get(), 0, &status)) return units.toUTF8String(result);
    const int start = uregex_start(expression.get(), 0, &status);
    const int end = uregex_end(expression.get(), 0, &status);
    icu::UnicodeString replaced = units.tempSubStringBetween(0, start) + u'.';
    for (int index = start; index < end; index = units.moveIndex32(index, 1)) {
        const UChar32 codePoint = units.char32At(index);
        if (u_getNumericValue(codePoint) != U_NO_NUMERIC_VALUE) replaced += codePoint;
    }
    replaced += units.tempSubStringBetween(end);
    EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
    return replaced.toUTF8String(result);
}

TEST(VersionOrder, findsBuildNumbersWhereTheRegularExpressionDoes) {
    constexpr std::string_view pieces[] = {"(1)", "(1", "2)",     "1",      "2",      "(",      ")",
                                           "(",   ")",  " ",      "\t",     "\r\n",   "\n",     "\r",
                                           "\v",  "\f", "\u0085", "\u2028", "\u00A0", "\u200B", "٣",
                                           "𝟗",   "½",  "\u0301", "\0"sv,   "x",      "\u001C"};
    RandomTexts texts(pieces);
    int replaced = 0;
    for (int round = 0; round < 15000; ++round) {
        const std::string text = texts.next(8);
        const std::string expected = replacedByExpression(text::trimmed(text));
        ASSERT_EQ(versionOrder::normalizeVersion(text), expected) << testing::PrintToString(text);
        replaced += expected != text::trimmed(text) ? 1 : 0;
    }
    EXPECT_GT(replaced, 200) << "too few texts with a build number";
}

}  // namespace
}  // namespace quorvel
