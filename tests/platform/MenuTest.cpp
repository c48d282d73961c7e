#include <gtest/gtest.h>

#include "platform/Menu.h"
#include "support/Texts.h"

namespace quorvel {
namespace {

MenuItem titled(std::vector<TitleRun> title, std::vector<TitleRun> detail = {}) {
    MenuItem item;
    item.title = std::move(title);
    item.detail = std::move(detail);
    return item;
}

MenuItem update(const std::string& name, const std::string& local = "1") {
    return titled({{name, true}, {" ("}, {local, true}, {" → "}, {"2", true}, {")"}});
}

TEST(Menu, drawsTitlesOnLinesThatAMenuHasRoomFor) {
    const std::string line60 = repeated(60, "x"), wide = "藍";
    const struct {
        const char* claim;
        MenuItem item;
        std::string expected;
    } rows[] = {
        {"control characters become spaces",
         titled({{"one\ntwo", true}}, {{"1\t", true}, {" → "}, {"2\xFF", true}}), "one two\n1  → 2\uFFFD"},
        {"a right-to-left name", update("\u2069שלום\u2066"), "\u200E\u2068שלום\u2069 (1 → 2)"},
        {"a right-to-left version", titled({{"Name", true}}, {{"١٫٠", true}, {" → "}, {"2.0", true}}),
         "Name\n\u200E\u2068١٫٠\u2069 → 2.0"},
        {"a name that just fits", update(line60), line60 + " (1 → 2)"},
        {"a name too long", update(line60 + "x"), repeated(59, "x") + "… (1 → 2)"},
        {"a version too long", update("N", repeated(33, "1")), "N (" + repeated(31, "1") + "… → 2)"},
        {"wide characters take two columns, marks none", update(wide + repeated(60, "e\u0301")),
         wide + repeated(57, "e\u0301") + "… (1 → 2)"},
        {"marks without end are cut with their letter", titled({{"ab" + repeated(5000, "\u0301")}}), "a…"},
        {"a long text breaks at spaces", titled({{repeated(20, "word ") + "end"}}),
         repeated(11, "word ") + "word\n" + repeated(8, "word ") + "end"},
        {"a long word breaks where it must", titled({{line60 + line60 + "x"}}),
         line60 + "\n" + line60 + "\nx"},
        {"a text without end is cut on line four", titled({{repeated(10000, "x")}}),
         line60 + "\n" + line60 + "\n" + line60 + "\n" + repeated(59, "x") + "…"},
    };
    for (const auto& [claim, item, expected] : rows)
        EXPECT_EQ(displayTitle(item), expected) << claim;
}

}  // namespace
}  // namespace quorvel
