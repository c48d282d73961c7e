#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <optional>
#include <stdlib.h>
#include <unicode/uloc.h>

#include "platform/System.h"
#include "platform/text/Text.h"

namespace quorvel::text {
namespace {

using namespace std::literals;

struct TextCase {
    std::string_view input;
    std::string_view expected;
};

TEST(Text, replacesEachMaximalMalformedSubpartOnce) {
    const TextCase cases[] = {
        {"", ""},
        {"a\0é😀"sv, "a\0é😀"sv},
        {"a\x80z", "a\uFFFDz"},
        {"\xE2\x82", "\uFFFD"},                            // cut before its last byte
        {"\xF0\x9F\x98\xC3\xA9", "\uFFFDé"},               // contradicted by another lead byte
        {"\xC0\xAF", "\uFFFD\uFFFD"},                      // overlong
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond U+10FFFF
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(repairedUtf8(input), expected) << testing::PrintToString(input);
        EXPECT_EQ(isValidUtf8(input), input == expected) << testing::PrintToString(input);
        EXPECT_EQ(composed(input), expected) << testing::PrintToString(input);
    }
}

TEST(Text, knowsAsciiByEachOfItsBytes) {
    std::string text(20, '\x7F');
    EXPECT_TRUE(isAscii(text));
    for (char& byte : text) {
        byte = '\x80';
        EXPECT_FALSE(isAscii(text));
        byte = '\0';
    }
}

TEST(Text, trimsSpaceSeparatorsAndTabsButNoLineBreaks) {
    const TextCase cases[] = {
        {" \t ", ""},
        {" \t1 2 \t", "1 2"},
        {" \n1\r\n ", "\n1\r\n"},
        {"\u00A0\u20031\u3000", "1"},
        {"\u00851\u2028", "\u00851\u2028"},
        {"\u200B1", "\u200B1"},  // a format character, not a space
        {" \x80 ", "\x80"},
        {"\xE2\x80\x83\x80", "\x80"},
        {"1\xE2\x80\x83\x80", "1\xE2\x80\x83\x80"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(trimmed(input), expected) << testing::PrintToString(input);
    }
}

TEST(Text, splitsIntoUserPerceivedCharacters) {
    using Characters = std::vector<std::string_view>;
    EXPECT_EQ(characters(""), Characters{});
    EXPECT_EQ(characters("a\r\n\n"), (Characters{"a", "\r\n", "\n"}));
    EXPECT_EQ(characters("\x80.\u0301+\xE2\x82"), (Characters{"\x80", ".\u0301", "+", "\xE2\x82"}));
    EXPECT_EQ(graphemeCount("🇩🇪🇫🇷\r\n"), 3U);
    EXPECT_EQ(firstGraphemes("e\u0301ab", 2), "e\u0301a");
    EXPECT_EQ(firstGraphemes("ab", 3), "ab");
}

TEST(Text, findsNumericCharactersAndDecimalDigits) {
    const struct {
        std::string_view input;
        std::string_view numericPrefix;
        bool hasNumeric;
        std::optional<std::size_t> decimalDigit;
    } cases[] = {
        {"", "", false, std::nullopt},
        {"007b", "007", true, 0},
        {"v1", "", true, 1},
        {"1½²Ⅷ一-", "1½²Ⅷ一", true, 0},
        {"½", "½", true, std::nullopt},
        {"é٣", "", true, 2},
        {"é-", "", false, std::nullopt},
        {"1\u0301\u03022x", "1\u0301\u03022", true, 0},  // marks go with their digit
        {"x\u0301"
         "1",
         "", true, 3},
        {"1\x80", "1", true, 0},
        {"\x80"
         "7",
         "", true, 1},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(numericPrefix(row.input), row.numericPrefix) << row.input;
        EXPECT_EQ(containsNumericCharacter(row.input), row.hasNumeric) << row.input;
        EXPECT_EQ(findDecimalDigit(row.input), row.decimalDigit) << row.input;
    }
}

TEST(Text, lowersCaseWithoutTheUsersLocale) {
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("tr_TR", &status);
    const TextCase cases[] = {
        {"BETA@Z[", "beta@z["}, {"Ié", "ié"}, {"İΩЖ", "i\u0307ωж"}, {"A\x80É", "a\uFFFDé"}};
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(lowerCased(input), expected) << input;
}

TEST(Text, composesCanonically) {
    EXPECT_EQ(composed("e\u0301ﬁ"), "éﬁ");
    // A composition that is longer.
    EXPECT_EQ(composed("\U0001D160").size(), 12U);
}

TEST(Text, countsTerminalColumns) {
    const struct {
        std::string_view input;
        std::size_t expected;
    } cases[] = {
        {"", 0},
        {"a\tb\n\x7F", 2},
        {"e\u0301…→", 3},
        {"漢ｶ", 3},
        {"\u1112\u1161\u11AB", 2},
        {"😀👩‍👩‍👧‍👦🇩🇪", 6},
        {"❤", 1},
        {"❤\uFE0F1\uFE0F\u20E3", 4},
        {"a\uFE0F", 1},
        {"\u200B\u200D\u2068", 0},
        {"\x80", 1},
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(displayWidth(input), expected) << input;
}

TEST(NameCollator, ordersNamesByTheFirstLocaleThatTheEnvironmentNames) {
    using Names = std::vector<std::string>;
    const Names german{"alpha", "Äther", "Beta", "Zed"};
    const Names swedish{"alpha", "Beta", "Zed", "Äther"};
    const std::string tooLong(200, 'x');
    constexpr std::array variables{"LC_ALL", "LC_COLLATE", "LANG"};
    const struct {
        std::array<const char*, 3> values;
        const Names& expected;
    } cases[] = {
        {{"", "", ""}, german},
        {{"sv_SE.UTF-8", "de_DE", "de_DE"}, swedish},
        {{"", "sv_SE", "de_DE"}, swedish},
        {{"", "", "sv_SE.UTF-8@euro"}, swedish},
        {{"C.UTF-8", "sv_SE", "sv_SE"}, german},
        {{"", "no such locale", "sv_SE"}, german},
        {{tooLong.c_str(), "sv_SE", "sv_SE"}, german},
    };
    for (const auto& [values, expected] : cases) {
        for (std::size_t index = 0; index < variables.size(); ++index)
            setenv(variables[index], values[index], 1);
        const NameCollator collator(userLocale());
        Names names{"Zed", "Äther", "alpha", "Beta"};
        std::ranges::sort(names, {}, [&](const auto& name) { return collator.sortKey(name); });
        EXPECT_EQ(names, expected) << testing::PrintToString(values);
    }
    for (const char* const variable : variables)
        unsetenv(variable);
    EXPECT_EQ(userLocale(), "");
}

TEST(NameCollator, ignoresCaseButNotAccents) {
    const NameCollator collator("");
    EXPECT_EQ(collator.sortKey("ALPHA é"), collator.sortKey("alpha É"));
    EXPECT_EQ(collator.sortKey("a\u0302\u0323"), collator.sortKey("a\u0323\u0302"));
    EXPECT_LT(collator.sortKey("resume"), collator.sortKey("résumé"));
    EXPECT_LT(collator.sortKey(""), collator.sortKey("a"));
    EXPECT_EQ(collator.sortKey("\xFF"), collator.sortKey("\uFFFD"));
    // A key far longer than its name is whole.
    std::string name;
    for (int count = 0; count < 50; ++count)
        name += "\uFDFA";  // one letter that sorts as 18
    EXPECT_LT(collator.sortKey(name + "a"), collator.sortKey(name + "b"));
}

}  // namespace
}  // namespace quorvel::text
