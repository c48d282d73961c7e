#include <gtest/gtest.h>

#include "platform/text/DisplayText.h"

namespace quorvel {
namespace {

TEST(DisplayText, keepsWhatComesFromOutsideOnItsLineAndInItsDirection) {
    const std::vector<std::pair<std::string, std::string>> rows{
        {"Salt & Pepper_Mill <b>", "Salt & Pepper_Mill <b>"},
        {"two\nlines\r\n\tand\x1b[31m more\x7f", "two lines   and [31m more "},
        {std::string("nul\0l", 5), "nul l"},
        {"c1 \u0085\u009b2J, \u00a0stays", "c1   2J, \u00a0stays"},
        {"line\u2028paragraph\u2029", "line paragraph "},
        {"\u202Egnp.exe\u202C \u2066x\u2069", "gnp.exe x"},
        {"\u200Dkept\u2026\u2192", "\u200Dkept\u2026\u2192"},
        {"\xE2\x80", "\xE2\x80"},
        {"", ""},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(onOneLine(text), expected) << text;
}

TEST(DisplayText, isolatesWhatRunsFromRightToLeft) {
    EXPECT_EQ(isolated("Editor 藍 1.0"), "Editor 藍 1.0");
    EXPECT_EQ(isolated("Editor \u05d0"), "\u2068Editor \u05d0\u2069");
    EXPECT_EQ(isolated("\u0627"), "\u2068\u0627\u2069");
}

}  // namespace
}  // namespace quorvel
