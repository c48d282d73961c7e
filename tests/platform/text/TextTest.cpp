#include <algorithm>
#include <gtest/gtest.h>
#include <optional>
#include <stdlib.h>
#include <unicode/uloc.h>

#include "platform/text/Characters.h"
#include "platform/text/Text.h"

namespace quorvel::text {
namespace {

using namespace std::literals;

/// The environment's locale for one test; what was there before comes back after it.
class LocaleEnvironment {
public:
    LocaleEnvironment(const char* all, const char* collate, const char* language) {
        set("LC_ALL", all);
        set("LC_COLLATE", collate);
        set("LANG", language);
    }
    ~LocaleEnvironment() {
        for (const auto& [name, value] : before) {
            if (value)
                setenv(name, value->c_str(), 1);
            else
                unsetenv(name);
        }
    }
    LocaleEnvironment(const LocaleEnvironment&) = delete;
    LocaleEnvironment& operator=(const LocaleEnvironment&) = delete;

private:
    void set(const char* name, const char* value) {
        const char* const old = getenv(name);
        before.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
        if (value)
            setenv(name, value, 1);
        else
            unsetenv(name);
    }

    std::vector<std::pair<const char*, std::optional<std::string>>> before;
};

struct TextCase {
    std::string_view input;
    std::string_view expected;
};

TEST(Text, replacesEachMaximalMalformedSubpartOnce) {
    const TextCase cases[] = {
        {"", ""},
        {"plain", "plain"},
        {"\xC3\xA9\xF0\x9F\x98\x80", "é😀"},
        {"a\x80z", "a\uFFFDz"},
        {"\xE2\x82", "\uFFFD"},               // cut before its last byte
        {"\xE2\x82z", "\uFFFDz"},             // contradicted by an ASCII byte
        {"\xF0\x9F\x98\xC3\xA9", "\uFFFDé"},  // contradicted by another lead byte
        {"\xC0\xAF", "\uFFFD\uFFFD"},         // overlong
        {"\xE0\x9F\x80", "\uFFFD\uFFFD\uFFFD"},
        {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},            // a surrogate
        {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond U+10FFFF
        {"\xFF\xFE", "\uFFFD\uFFFD"},
        {"a\0b\x80"sv, "a\0b\uFFFD"sv},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(repairedUtf8(input), expected) << testing::PrintToString(input);
        EXPECT_EQ(isValidUtf8(input), input == expected) << testing::PrintToString(input);
        EXPECT_TRUE(isValidUtf8(repairedUtf8(input))) << testing::PrintToString(input);
    }
}

TEST(Text, trimsSpaceSeparatorsAndTabsButNoLineBreaks) {
    const TextCase cases[] = {
        {"", ""},
        {" \t ", ""},
        {" \t1.2 \t", "1.2"},
        {"1 2", "1 2"},
        {" \n1\n ", "\n1\n"},
        {"\r\n", "\r\n"},
        {"\v1\f", "\v1\f"},
        {"\u00A0\u20031\u3000", "1"},
        {"\u00851\u2028", "\u00851\u2028"},
        {"\u200B1", "\u200B1"},  // a format character, not a space
        {" \x80 ", "\x80"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(trimmed(input), expected) << testing::PrintToString(input);
    }
}

TEST(Text, numericPrefixEndsOnACharacterBoundary) {
    const TextCase cases[] = {
        {"", ""},
        {"007b", "007"},
        {"b7", ""},
        {"1\0002"sv, "1"},
        {"٣٤x", "٣٤"},
        {"1½²Ⅷ一-", "1½²Ⅷ一"},
        {"1\u0301\u03022x", "1\u0301\u03022"},  // marks go with their digit
        {"x\u0301"
         "1",
         ""},
        {"1\uFE0F\u20E3.", "1\uFE0F\u20E3"},  // the keycap emoji
        {"1\x80", "1"},
    };
    for (const auto& [input, expected] : cases) {
        EXPECT_EQ(numericPrefix(input), expected) << testing::PrintToString(input);
    }
}

TEST(Text, findsNumericCharactersAndDecimalDigits) {
    const struct {
        std::string_view input;
        bool hasNumeric;
        std::optional<std::size_t> decimalDigit;
    } cases[] = {
        {"", false, std::nullopt},
        {"beta", false, std::nullopt},
        {"v1", true, 1},
        {"½", true, std::nullopt},
        {"é٣", true, 2},
        {"\x80"
         "7",
         true, 1},
        {"é-", false, std::nullopt},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(containsNumericCharacter(row.input), row.hasNumeric) << row.input;
        EXPECT_EQ(findDecimalDigit(row.input), row.decimalDigit) << row.input;
    }
}

TEST(Text, lowersCaseWithoutTheUsersLocale) {
    const std::string userLocale = uloc_getDefault();
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("tr_TR", &status);
    const TextCase cases[] = {
        {"BETA@Z[", "beta@z["}, {"Ié", "ié"}, {"ÄΩЖ", "äωж"}, {"\u212A", "k"}, {"A\x80É", "a\uFFFDé"},
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(lowerCased(input), expected) << input;
}

TEST(Text, composesCanonically) {
    EXPECT_EQ(composed("e\u0301"), "é");
    EXPECT_EQ(composed("\u212B"), "Å");
    EXPECT_EQ(composed("ﬁ"), "ﬁ");
    EXPECT_EQ(composed("\x80"), "\uFFFD");
}

TEST(Text, splitsIntoUserPerceivedCharacters) {
    using Characters = std::vector<std::string_view>;
    EXPECT_EQ(characters(""), Characters{});
    EXPECT_EQ(characters("a\r\n\n"), (Characters{"a", "\r\n", "\n"}));
    EXPECT_EQ(characters(".\u0301+"), (Characters{".\u0301", "+"}));
    EXPECT_EQ(characters("🇩🇪🇫🇷"), (Characters{"🇩🇪", "🇫🇷"}));
    EXPECT_EQ(characters("\x80.\xE2\x82"), (Characters{"\x80", ".", "\xE2\x82"}));
}

TEST(Text, countsTerminalColumns) {
    const struct {
        std::string_view input;
        std::size_t expected;
    } cases[] = {
        {"", 0},
        {"abc", 3},
        {"a\tb\n\x7F", 2},
        {"é", 1},
        {"e\u0301", 1},
        {"漢字", 4},
        {"한", 2},
        {"\u1112\u1161\u11AB", 2},
        {"Ａ", 2},
        {"ｶ", 1},
        {"😀", 2},
        {"👩‍👩‍👧‍👦", 2},
        {"🇩🇪", 2},
        {"❤", 1},
        {"❤\uFE0F", 2},
        {"1\uFE0F\u20E3", 2},
        {"\u200B\u200D\u2068", 0},
        {"…", 1},
        {"→", 1},
        {"\x80", 1},
        {"a\uFE0F", 1},
    };
    for (const auto& [input, expected] : cases)
        EXPECT_EQ(displayWidth(input), expected) << input;
}

std::vector<std::string> inOrder(std::vector<std::string> names) {
    const NameCollator collator;
    std::stable_sort(names.begin(), names.end(), [&](const auto& left, const auto& right) {
        return collator.sortKey(left) < collator.sortKey(right);
    });
    return names;
}

TEST(NameCollator, ordersNamesByTheFirstLocaleThatTheEnvironmentNames) {
    using Names = std::vector<std::string>;
    const Names names{"Zed", "Äther", "alpha", "Beta"};
    const Names german{"alpha", "Äther", "Beta", "Zed"};
    const Names swedish{"alpha", "Beta", "Zed", "Äther"};
    const struct {
        const char* all;
        const char* collate;
        const char* language;
        const Names& expected;
    } cases[] = {
        {nullptr, nullptr, nullptr, german},
        {"sv_SE.UTF-8", "de_DE", "de_DE", swedish},
        {"", "sv_SE", "de_DE", swedish},
        {nullptr, nullptr, "sv_SE.UTF-8@euro", swedish},
        {"C.UTF-8", "sv_SE", "sv_SE", german},
        {"POSIX", "sv_SE", "sv_SE", german},
        {nullptr, "no such locale", "sv_SE", german},
    };
    for (const auto& row : cases) {
        const LocaleEnvironment environment(row.all, row.collate, row.language);
        EXPECT_EQ(inOrder(names), row.expected)
            << (row.all ? row.all : "-") << ' ' << (row.collate ? row.collate : "-") << ' '
            << (row.language ? row.language : "-");
    }
}

TEST(NameCollator, ignoresCaseButNotAccents) {
    const LocaleEnvironment environment("C", nullptr, nullptr);
    const NameCollator collator;
    EXPECT_EQ(collator.sortKey("ALPHA é"), collator.sortKey("alpha É"));
    EXPECT_EQ(collator.sortKey("e\u0301"), collator.sortKey("é"));
    EXPECT_EQ(collator.sortKey("a\u0302\u0323"), collator.sortKey("a\u0323\u0302"));
    EXPECT_NE(collator.sortKey("resume"), collator.sortKey("résumé"));
    EXPECT_LT(collator.sortKey(""), collator.sortKey("a"));
    EXPECT_LT(collator.sortKey("App 10"), collator.sortKey("App 9"));
    EXPECT_EQ(collator.sortKey("\xFF"), collator.sortKey("\uFFFD"));
}

TEST(NameCollator, keysFarLongerThanTheirNamesAreWhole) {
    const NameCollator collator;
    std::string name;
    for (int count = 0; count < 50; ++count)
        name += "\uFDFA";  // one letter that sorts as 18
    EXPECT_GT(collator.sortKey(name).size(), 4 * name.size());
    EXPECT_LT(collator.sortKey(name + "a"), collator.sortKey(name + "b"));
    EXPECT_EQ(collator.sortKey(name + "a"), collator.sortKey(name + "A"));
}

}  // namespace
}  // namespace quorvel::text
