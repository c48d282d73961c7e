#include <algorithm>
#include <gtest/gtest.h>

#include "Catalog.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

namespace {

using Texts = std::vector<std::string>;

/// Two entries share an identifier, one lists two, one has none but a title.
constexpr std::string_view sample = R"({"entries":[
    {"id":1,"title":"Editor","version":"2.0","bundle_identifiers":["com.example.editor"]},
    {"id":2,"title":"Suite","bundle_identifiers":["com.example.suite","com.example.suite.lite"]},
    {"id":3,"title":"Editor Plus","bundle_identifiers":["com.example.editor"]},
    {"id":4,"title":"Player"}]})";

std::vector<std::int64_t> matchedIds(const Texts& titles, const Texts& identifiers) {
    const auto catalog = Catalog::parse(sample);
    if (!catalog) throw std::runtime_error(catalog.error());
    std::vector<std::int64_t> ids;
    for (const CatalogEntry* entry : catalog->match(titles, identifiers))
        ids.push_back(entry->id);
    return ids;
}

}  // namespace

TEST(Catalog, matchesByIdentifierAndByTitleOnlyWhereThereIsNoIdentifier) {
    struct Row {
        const char* claim;
        Texts titles;
        Texts identifiers;
        std::vector<std::int64_t> expected;
    };
    const std::vector<Row> rows{
        {"every entry that lists the identifier", {"x"}, {"com.example.editor"}, {1, 3}},
        {"either of two identifiers", {"x"}, {"com.example.suite.lite"}, {2}},
        {"an entry once", {"x", "y"}, {"com.example.suite.lite", "com.example.suite"}, {2}},
        {"order of first match", {"x", "y"}, {"com.example.suite", "com.example.editor"}, {2, 1, 3}},
        {"title without identifier", {"Player"}, {""}, {4}},
        {"once by title and by identifier", {"Editor", "x"}, {"", "com.example.editor"}, {1, 3}},
        {"no title where there is an identifier", {"Player"}, {"com.example.other"}, {}},
        {"letter case counts", {"player", "x"}, {"", "com.example.Editor"}, {}},
        {"nothing asked", {}, {}, {}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(matchedIds(row.titles, row.identifiers), row.expected) << row.claim;
}

TEST(Catalog, aFaultInTheDataFileIsNamedWithItsEntry) {
    struct Row {
        std::string text;
        std::string expected;
    };
    const std::string good = R"({"id":1,"title":"A"})";
    const std::vector<Row> rows{
        {R"([])", "The document must be an object whose \"entries\" is a list."},
        {R"({"entries":[)" + good + R"(,7]})", "Entry 2: an entry must be an object."},
        {R"({"entries":[{"id":"1","title":"A"}]})", "Entry 1: \"id\" must be an integer."},
        {R"({"entries":[{"id":1.5,"title":"A"}]})", "Entry 1: \"id\" must be an integer."},
        {R"({"entries":[{"id":1}]})", "Entry 1: \"title\" is missing."},
        {R"({"entries":[)" + good + "," + good + "]}", "Entry 2: \"id\" is another entry's id."},
        {R"({"entries":[{"id":1,"title":"A","version":2}]})", "Entry 1: \"version\" must be a text."},
        {R"({"entries":[{"id":1,"title":"A","bundle_identifiers":["a",1]}]})",
         "Entry 1: \"bundle_identifiers\" must be a list of texts."},
        {R"({"entries":[{"id":1,"title":"A","requirements":"12.0"}]})",
         "Entry 1: \"requirements\" must be an object."},
        {R"({"entries":[{"id":1,"title":"A","minimum_os":"12.0"}]})",
         "Entry 1: \"minimum_os\" is not a member that a catalog entry has."},
    };
    for (const Row& row : rows) {
        const auto catalog = Catalog::parse(row.text);
        ASSERT_FALSE(catalog) << row.text;
        EXPECT_EQ(catalog.error(), row.expected) << row.text;
    }
}

TEST(Catalog, everyPrefixOfADataFileIsRefused) {
    for (std::size_t length = 0; length < sample.size(); ++length)
        EXPECT_FALSE(Catalog::parse(sample.substr(0, length))) << length;
}

TEST(Catalog, aFileThatCannotBeReadIsNamedWithTheCause) {
    const TemporaryFolder folder;
    const std::string path = folder.path.string();
    EXPECT_EQ(Catalog::load(folder.path).error(), "Could not read " + path + ": it is a folder.");
    EXPECT_EQ(Catalog::load(folder.path / "none").error(),
              "Could not read " + path + "/none: No such file or directory.");
    folder.write("bad", R"({"entries":1})");
    EXPECT_TRUE(Catalog::load(folder.path / "bad").error().starts_with("Could not use " + path + "/bad. "));
}

TEST(Catalog, theDemonstrationsDataFileIsValid) {
    const auto catalog = Catalog::load(SOURCE_ROOT "/demo/catalog.json");
    ASSERT_TRUE(catalog) << catalog.error();
    EXPECT_GT(catalog->size(), 0U);
}

}  // namespace quorvel
