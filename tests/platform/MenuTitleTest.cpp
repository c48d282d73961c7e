#include <gtest/gtest.h>

#include "platform/MenuTitle.h"
#include "platform/text/DisplayText.h"

namespace quorvel {
namespace {

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int time = 0; time < count; ++time)
        all += text;
    return all;
}

TEST(MenuTitle, drawsEachTitleHarmlesslyAndInItsOwnDirection) {
    const std::string line60 = repeated("x", 60);
    const std::string mark = "\u200E", isolate = "\u2068", pop = "\u2069";
    struct Row {
        const char* claim;
        MenuItem item;
        std::string expected;
    };
    const auto plain = [](const std::string& title) {
        MenuItem item;
        item.title = title;
        return item;
    };
    const auto parts = [](std::vector<std::string> texts) {
        MenuItem item;
        item.title = "shown in parts";
        item.titleParts = std::move(texts);
        return item;
    };
    MenuItem twoLines;
    twoLines.title = "one\ntwo";
    twoLines.attributedTitle = {.name = "one\ntwo", .detail = "1\t→ 2"};

    const Row rows[] = {
        {"own title", plain("New Versions Available (3)"), "New Versions Available (3)"},
        {"ampersand and underscore", plain("A & B_C"), "A & B_C"},
        {"control characters", plain("a\nb\rc\x7F\u0085d\u2028e"), "a b c  d e"},
        {"a NUL", plain(std::string("a\0b", 3)), "a b"},
        {"malformed bytes", plain("a\xFFz"), "a\uFFFDz"},
        {"noncharacters, which no bus carries", plain("a\uFFFEb\uFFFFc\uFDD0d\uFDEFe\U0001FFFEf\U0010FFFFg"),
         "abcdefg"},
        {"their neighbours", plain("\uFFFD\uFDCF\uFDF0\U0001FFFD"), "\uFFFD\uFDCF\uFDF0\U0001FFFD"},
        {"two lines", twoLines, "one two\n1 → 2"},
        {"left to right, no marks", parts({"Éa", " (", "1.0", " → ", "2.0", ")"}), "Éa (1.0 → 2.0)"},
        {"a right-to-left name", parts({"שלום", " (", "1.0", " → ", "2.0", ")"}),
         mark + isolate + "שלום" + pop + " (" + isolate + "1.0" + pop + " → " + isolate + "2.0" + pop + ")"},
        {"a right-to-left version, two lines", parts({"Name", "\n", "١٫٠", " → ", "2.0"}),
         mark + isolate + "Name" + pop + "\n" + mark + isolate + "١٫٠" + pop + " → " + isolate + "2.0" + pop},
        {"a name that would leave its isolate", parts({"\u2069\u202Eשלום\u2066", " (", "1", " → ", "2", ")"}),
         mark + isolate + "שלום" + pop + " (" + isolate + "1" + pop + " → " + isolate + "2" + pop + ")"},
        {"our own text first", parts({"", "Report ", "שלום", " Issue"}),
         mark + "Report " + isolate + "שלום" + pop + " Issue"},
        {"a name that just fits", parts({line60}), line60},
        {"a name too long", parts({line60 + "xy"}), repeated("x", 59) + "…"},
        {"wide characters take two columns", parts({repeated("藍", 31)}), repeated("藍", 29) + "…"},
        {"a cut inside no character", parts({repeated("e\u0301", 61)}), repeated("e\u0301", 59) + "…"},
        {"characters without a width end too", parts({repeated("\u200B", 500)}),
         repeated("\u200B", 59) + "…"},
        {"marks without end are cut with their letter", plain("ab" + repeated("\u0301", 5000)), "a…"},
        {"and alone", plain(repeated("\u0301", 5000)), "…"},
        {"a few marks stay", plain("e\u0301\u0323\u0308 👨\u200D👩\u200D👧\u200D👦"),
         "e\u0301\u0323\u0308 👨\u200D👩\u200D👧\u200D👦"},
        {"a version too long", parts({"N", " (", repeated("1", 40), " → ", "2", ")"}),
         "N (" + repeated("1", 31) + "… → 2)"},
        {"a long text breaks at spaces", plain(repeated("word ", 20) + "end"),
         repeated("word ", 11) + "word\n" + repeated("word ", 8) + "end"},
        {"a long word breaks where it must", plain(line60 + line60 + "x"), line60 + "\n" + line60 + "\nx"},
        {"a text without end is cut on line four", plain(repeated("x", 10000)),
         line60 + "\n" + line60 + "\n" + line60 + "\n" + repeated("x", 59) + "…"},
    };
    for (const auto& [claim, item, expected] : rows)
        EXPECT_EQ(displayTitle(item), expected) << claim;
}

}  // namespace
}  // namespace quorvel
