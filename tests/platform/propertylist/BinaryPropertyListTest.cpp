#include "PropertyListRows.h"
#include "support/BinaryPropertyListWriter.h"

namespace quorvel {
namespace {

using namespace std::string_literals;
using Writer = BinaryPropertyListWriter;

/// A list whose key "a" has the value that `add` adds, followed by the key "b" with the text "after".
template <typename Add>
std::string withValue(Add add, std::size_t referenceWidth = 1) {
    Writer writer(referenceWidth);
    const auto value = add(writer);
    return writer.finish(
        writer.dictionary({{writer.text("a"), value}, {writer.text("b"), writer.text("after")}}));
}

template <typename Text>
std::string withText(const Text& text) {
    return withValue([&](Writer& writer) { return writer.text(text); });
}

std::string withRaw(const std::string& raw) {
    return withValue([&](Writer& writer) { return writer.object(raw); });
}

TEST(BinaryPropertyList, readsTexts) {
    const std::string longText(300, 'x');
    expectTexts({
        {"empty", withText(""), Texts{"", "after"}},
        {"with a count of its own", withText(longText), Texts{longText, "after"}},
        {"NUL inside", withText("x\0y"s), Texts{"x\0y"s, "after"}},
        {"UTF-16", withText(u"\u00E9\0\u8A9E\U0001F600"s), Texts{"\u00E9\0\u8A9E\U0001F600"s, "after"}},
    });
}

TEST(BinaryPropertyList, passesOverEveryOtherSoundValue) {
    for (const std::string& raw :
         {"\x00"s, "\x08"s, "\x09"s, "\x10\x01"s, "\x14" + Writer::number(0, 16),
          "\x22" + Writer::number(1, 4), "\x23" + Writer::number(1, 8), "\x33" + Writer::number(1, 8),
          "\x42\xFF\xFF"s, "\x4F\x11\x00\x01x"s, "\x80\x01"s, "\x87" + Writer::number(1, 8), "\xA0"s,
          "\xA2\x01\x02"s, "\xD0"s, "\xD1\x01\x02"s}) {
        expectTexts({{testing::PrintToString(raw), withRaw(raw), Texts{none, "after"}}});
        // What is cut would reach into the table of offsets.
        for (std::size_t size = 0; size < raw.size(); ++size) {
            Writer writer;
            const auto key = writer.text("a");
            const auto root = writer.dictionary({{key, 2}});
            writer.object(raw.substr(0, size));
            expectTexts({{testing::PrintToString(raw), writer.finish(root), refused}});
        }
    }
    for (const std::string& raw :
         {// counts that are negative or huge
          "\x5F\x13" + Writer::number(~0ULL, 8), "\x6F\x13" + Writer::number(1ULL << 63, 8),
          "\x4F\x13" + Writer::number(1ULL << 62, 8), "\xAF\x13" + Writer::number(~0ULL, 8),
          "\xDF\x13" + Writer::number(1ULL << 63, 8),
          // references to what is not there
          "\xA1\xFF"s, "\xD1\xFF\x00"s, "\xD1\x00\xFF"s}) {
        expectTexts({{testing::PrintToString(raw), withRaw(raw), refused}});
    }
}

TEST(BinaryPropertyList, refusesAListThatIsCutOrPadded) {
    const auto whole = withText(u"x\u00E9");
    expectTexts({{"whole", whole, Texts{"x\u00E9", "after"}}, {"padded", whole + "\0"s, refused}});
    expectOnlyWhole(whole, whole.size());
}

/// Arrays that each name the one before `width` times.
std::string nestedArrays(std::size_t levels, std::size_t width) {
    return withValue([&](Writer& writer) {
        auto value = writer.array({});
        for (std::size_t level = 1; level < levels; ++level)
            value = writer.array(std::vector(width, value));
        return value;
    });
}

std::string manyReferencesTo(const std::string& raw, std::size_t count) {
    return withValue([&](Writer& writer) { return writer.array(std::vector(count, writer.object(raw))); }, 2);
}

TEST(BinaryPropertyList, boundsDepthTextsAndSharing) {
    const std::string longest(64 * 1024, 'x');
    const std::string megabyte = Writer::marker(0x6, 500'000) + std::string(1'000'000, '\x30');
    // Beside the many references, a root, two keys and two values are visited.
    constexpr std::size_t maxReferences = 100'000 - 4;
    expectTexts({
        {"64 deep", nestedArrays(63, 1), Texts{none, "after"}},
        {"65 deep", nestedArrays(64, 1), refused},
        {"text of 64 KiB", withText(longest), Texts{longest, "after"}},
        {"text of more", withText(longest + "x"), refused},
        {"each level twice the last", nestedArrays(60, 2), refused},
        {"as many values as may be", manyReferencesTo("\x09", maxReferences), Texts{none, "after"}},
        {"one more", manyReferencesTo("\x09", maxReferences + 1), refused},
        {"eight references to a megabyte", manyReferencesTo(megabyte, 8), Texts{none, "after"}},
        {"nine", manyReferencesTo(megabyte, 9), refused},
    });
}

}  // namespace
}  // namespace quorvel
