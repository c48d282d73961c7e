#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unicode/uloc.h>

#include "platform/System.h"
#include "platform/text/DisplayText.h"
#include "platform/text/Text.h"

namespace quorvel::text {
namespace {

using namespace std::literals;
/// An input, and what is made of it.
using Rows = std::vector<std::pair<std::string_view, std::string_view>>;

TEST(Text, leavesNothingThatALineWouldObey) {
    for (const auto& [input, expected] : Rows{
             {"Salt & Pepper_Mill <b> \u200Dkept\u2026\u00a0",
              "Salt & Pepper_Mill <b> \u200Dkept\u2026\u00a0"},
             {"two\r\n\tlines\x1b[31m\x7f\0\u009b"sv, "two   lines [31m   "},
             {"line\u2028paragraph\u2029", "line paragraph "},
             {"\u202Egnp.exe\u202C \u2066x\u2069", "gnp.exe x"},
             {"\uFFFEa\uFDD0b\uFDEFc\U0001FFFEd\U0010FFFF", "abcd"},
             {"\uFFFD\uFDCF\uFDF0\U0001FFFD\u202F\u2065", "\uFFFD\uFDCF\uFDF0\U0001FFFD\u202F\u2065"},
         })
        EXPECT_EQ(onOneLine(input), expected) << input;
    for (const std::string input : {"Editor \u05d0", "\u0627", "1.\u0660"})
        EXPECT_EQ(isolated(input), "\u2068" + input + "\u2069");
    EXPECT_EQ(isolated("Editor 藍 1.0 ½ ०"), "Editor 藍 1.0 ½ ०");
}

TEST(Text, lowersCaseWithoutTheUsersLocaleAndComposesCanonically) {
    UErrorCode status = U_ZERO_ERROR;
    uloc_setDefault("tr_TR", &status);
    for (const auto& [input, expected] :
         Rows{{"BETA@Z[", "beta@z["}, {"Ié", "ié"}, {"İΩЖ", "i\u0307ωж"}, {"A\x80É", "a\uFFFDé"}})
        EXPECT_EQ(lowerCased(input), expected) << input;
    EXPECT_EQ(composed("e\u0301ﬁ"), "éﬁ");
    EXPECT_EQ(composed("\U0001D160").size(), 12U) << "a composition that is longer";
}

TEST(Text, countsTerminalColumns) {
    const std::pair<std::string_view, std::size_t> rows[] = {
        {"", 0},     {"a\tb\u0301漢ｶ", 5},        {"😀👩‍👩‍👧‍👦🇩🇪", 6},
        {"❤", 1},    {"❤\uFE0F1\uFE0F\u20E3", 4}, {"\u200B\u200D\u2068", 0},
        {"\x80", 1},
    };
    for (const auto& [input, expected] : rows)
        EXPECT_EQ(displayWidth(input), expected) << input;
}

TEST(NameCollator, ordersNamesByTheFirstLocaleThatTheEnvironmentNames) {
    using Names = std::vector<std::string>;
    const Names german{"alpha", "Äther", "Beta", "Zed"}, swedish{"alpha", "Beta", "Zed", "Äther"};
    constexpr std::array variables{"LC_ALL", "LC_COLLATE", "LANG"};
    const std::pair<std::array<std::string, 3>, const Names&> rows[] = {
        {{"", "", ""}, german},
        {{"sv_SE.UTF-8", "de_DE", "de_DE"}, swedish},
        {{"", "sv_SE", "de_DE"}, swedish},
        {{"", "", "sv_SE.UTF-8@euro"}, swedish},
        {{"C.UTF-8", "sv_SE", "sv_SE"}, german},
        {{"", "no such locale", "sv_SE"}, german},
    };
    for (const auto& [values, expected] : rows) {
        for (std::size_t index = 0; index < variables.size(); ++index)
            setenv(variables[index], values[index].c_str(), 1);
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
}

}  // namespace
}  // namespace quorvel::text
