#include <gtest/gtest.h>

#include "platform/text/DisplayText.h"

namespace quorvel {
namespace {

TEST(DisplayText, leavesNothingThatALineWouldObey) {
    const std::pair<std::string, std::string> rows[] = {
        {"Salt & Pepper_Mill <b> \u200Dkept\u2026\u00a0", "Salt & Pepper_Mill <b> \u200Dkept\u2026\u00a0"},
        {"two\r\n\tlines\x1b[31m\x7f", "two   lines [31m "},
        {std::string("nul\0l", 5), "nul l"},
        {"c1 \u0085\u009b2J", "c1   2J"},
        {"line\u2028paragraph\u2029", "line paragraph "},
        {"\u202Egnp.exe\u202C \u2066x\u2069", "gnp.exe x"},
        {"\uFFFEa\uFDD0b\uFDEFc\U0001FFFEd\U0010FFFF", "abcd"},
        {"\uFFFD\uFDCF\uFDF0\U0001FFFD\u202F\u2065", "\uFFFD\uFDCF\uFDF0\U0001FFFD\u202F\u2065"},
        {"a\xE2\x80", "a\uFFFD"},
    };
    for (const auto& [text, expected] : rows)
        EXPECT_EQ(onOneLine(text), expected) << text;
}

TEST(DisplayText, isolatesWhatHasRightToLeftCharacters) {
    for (const std::string text : {"Editor \u05d0", "\u0627", "1.\u0660"})
        EXPECT_EQ(isolated(text), "\u2068" + text + "\u2069");
    EXPECT_EQ(isolated("Editor 藍 1.0 ½ ०"), "Editor 藍 1.0 ½ ०");
}

}  // namespace
}  // namespace quorvel
