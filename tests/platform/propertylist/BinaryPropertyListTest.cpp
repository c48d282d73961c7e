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
        {"references of 8 bytes", withValue([](Writer& writer) { return writer.text("x"); }, 8),
         Texts{"x", "after"}},
        {"surrogate alone", withText(u"\xD83Dx"), refused},
        {"byte beyond ASCII", withText("\xC3\xA9"), refused},
    });
}

TEST(BinaryPropertyList, readsKeysAsAMacDoes) {
    Writer twice;
    const auto key = twice.text("a");
    const auto sameKey = twice.text(u"a");
    Writer noTextFirst;
    const auto name = noTextFirst.text("a");
    Writer nested;
    const auto inner = nested.dictionary({{nested.text("a"), nested.text("x")}});
    Writer notText;
    const auto number = notText.object("\x10\x01");
    const auto inRoot = notText.dictionary({{number, number}});
    expectTexts({
        {"first of two keys",
         twice.finish(twice.dictionary({{key, twice.text("x")}, {sameKey, twice.text("y")}})),
         Texts{"x", none}},
        {"first of two keys no text",
         noTextFirst.finish(
             noTextFirst.dictionary({{name, noTextFirst.object("\x09")}, {name, noTextFirst.text("y")}})),
         Texts{none, none}},
        {"nested keys are not the root's", nested.finish(nested.dictionary({{nested.text("b"), inner}})),
         Texts{none, none}},
        {"key that is no text", notText.finish(inRoot), refused},
        {"key that is no text inside", notText.finish(notText.dictionary({{notText.text("a"), inRoot}})),
         refused},
        {"root that is no dictionary", notText.finish(number), refused},
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
         {"\x01"s, "\x0F"s, "\x15" + std::string(32, '\0'), "\x20"s, "\x24" + std::string(16, '\0'), "\x30"s,
          "\x32"s, "\x70"s, "\x88"s, "\xB0"s, "\xC0"s, "\xE0"s, "\xF0"s,
          // counts that are no integer, negative, huge
          "\x5F"s, "\x5F\x09"s, "\x5F\x14" + Writer::number(0, 8) + Writer::number(1, 8) + "x",
          "\x5F\x13" + Writer::number(~0ULL, 8), "\x6F\x13" + Writer::number(1ULL << 63, 8),
          "\x4F\x13" + Writer::number(1ULL << 62, 8), "\xAF\x13" + Writer::number(~0ULL, 8),
          "\xDF\x13" + Writer::number(1ULL << 63, 8),
          // references to what is not there
          "\xA1\xFF"s, "\xD1\xFF\x00"s, "\xD1\x00\xFF"s}) {
        expectTexts({{testing::PrintToString(raw), withRaw(raw), refused}});
    }
}

TEST(BinaryPropertyList, refusesAListThatIsCutPaddedOrDamaged) {
    const auto whole = withText(u"x\u00E9");
    const auto trailer = whole.size() - 32;
    std::string padded = whole;
    padded.insert(trailer, "\0"s);
    // Where the version's digit stands, which would be an empty dictionary.
    const std::string beforeHeader = "bplist0\xD0x\x07" + std::string(6, '\0') + "\x01\x01" +
                                     Writer::number(1, 8) + Writer::number(0, 8) + Writer::number(9, 8);
    expectTexts({{"whole", whole, Texts{"x\u00E9", "after"}},
                 {"padded", whole + "\0"s, refused},
                 {"padded before the trailer", padded, refused},
                 {"offset in the header", beforeHeader, refused}});
    expectOnlyWhole(whole, whole.size());
    // The first six bytes of a trailer mean nothing.
    for (std::size_t place = trailer + 6; place < whole.size(); ++place) {
        for (int flipped = 1; flipped <= 0xFF; ++flipped) {
            std::string damaged = whole;
            damaged[place] = static_cast<char>(damaged[place] ^ flipped);
            expectTexts({{"byte " + std::to_string(place - trailer) + " of the trailer", damaged, refused}});
        }
    }
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
    Writer cycle;
    const auto key = cycle.text("a");
    const auto toItself = cycle.finish(cycle.dictionary({{key, 1}}));
    // Beside the many references, a root, two keys and two values are visited.
    constexpr std::size_t maxReferences = 100'000 - 4;
    expectTexts({
        {"64 deep", nestedArrays(63, 1), Texts{none, "after"}},
        {"65 deep", nestedArrays(64, 1), refused},
        {"root inside itself", toItself, refused},
        {"text of 64 KiB", withText(longest), Texts{longest, "after"}},
        {"text of more", withText(longest + "x"), refused},
        {"each level twice the last", nestedArrays(60, 2), refused},
        {"as many values as may be", manyReferencesTo("\x09", maxReferences), Texts{none, "after"}},
        {"one more", manyReferencesTo("\x09", maxReferences + 1), refused},
        {"one more, collections", manyReferencesTo("\xA0", maxReferences + 1), refused},
        {"eight references to a megabyte", manyReferencesTo(megabyte, 8), Texts{none, "after"}},
        {"nine", manyReferencesTo(megabyte, 9), refused},
    });
}

}  // namespace
}  // namespace quorvel
