#include "platform/propertylist/PropertyList.h"
#include "support/PropertyListRows.h"

namespace quorvel {
namespace {

using namespace std::string_literals;

std::string inList(const std::string& content) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
           "<plist version=\"1.0\">" +
           content + "</plist>\n";
}

std::string inRoot(const std::string& content) {
    return inList("<dict>" + content + "</dict>");
}

/// A list whose key "a" has `value`, followed by the key "b" with the text "after".
std::string withValue(const std::string& value) {
    return inRoot("<key>a</key>" + value + "<key>b</key><string>after</string>");
}

std::string inUtf16(const std::string& ascii, bool isBigEndian, bool hasMark) {
    std::string units;
    const auto add = [&](char high, char low) {
        units += isBigEndian ? high : low;
        units += isBigEndian ? low : high;
    };
    if (hasMark) add('\xFE', '\xFF');
    for (const char character : ascii)
        add('\0', character);
    return units;
}

const std::string twoLines = "<dict><key>a</key><string>x</string></dict>";

TEST(XmlPropertyList, readsATextAsAMacDoes) {
    expectTexts({
        {"plain", withValue("<string>1.0</string>"), "1.0", "after"},
        {"empty", withValue("<string></string>"), "", "after"},
        {"empty element", withValue("<string/>"), "", "after"},
        {"white space kept", withValue("<string> 1\n\t</string>"), " 1\n\t", "after"},
        {"five entities", withValue("<string>&lt;&gt;&amp;&apos;&quot;</string>"), "<>&'\"", "after"},
        {"numeric entities", withValue("<string>&#65;&#x42;&#x1F600;</string>"), "AB\xF0\x9F\x98\x80",
         "after"},
        {"CDATA", withValue("<string>a<![CDATA[<b>&amp;]]>c</string>"), "a<b>&amp;c", "after"},
        {"beyond ASCII", withValue("<string>\xC3\xA9\xE8\xAA\x9E</string>"), "\xC3\xA9\xE8\xAA\x9E", "after"},
        {"attributes ignored", withValue("<string xml:lang=\"en\">x</string>"), "x", "after"},
        {"key with entities", inRoot("<key>&#97;</key><string>x</string>"), "x", std::nullopt},
        {"last of two keys",
         inRoot("<key>a</key><string>x</string><key>b</key><true/><key>a</key><string>y</string>"), "y",
         std::nullopt},
        {"last of two keys no text", inRoot("<key>a</key><string>x</string><key>a</key><true/>"),
         std::nullopt, std::nullopt},
        {"nested keys are not the root's",
         withValue("<dict><key>a</key><string>x</string><key>b</key><string>y</string></dict>"), std::nullopt,
         "after"},
        {"texts of an array are not its key's", withValue("<array><string>x</string></array>"), std::nullopt,
         "after"},
    });
}

TEST(XmlPropertyList, passesOverEveryOtherKindOfValue) {
    for (const std::string value : {"<integer>12</integer>",
                                    "<integer>-12</integer>",
                                    "<integer>+12</integer>",
                                    "<integer> 12</integer>",
                                    "<integer>0x1fA</integer>",
                                    "<integer>-0X10</integer>",
                                    "<integer>18446744073709551615</integer>",
                                    "<integer>-9223372036854775808</integer>",
                                    "<real>1.5</real>",
                                    "<real>-1e-7</real>",
                                    "<real>+infinity</real>",
                                    "<real>nan</real>",
                                    "<real>1e999</real>",
                                    "<true/>",
                                    "<false></false>",
                                    "<date>2001-02-03T04:05:06Z</date>",
                                    "<data>\n\tAQID\n\t</data>",
                                    "<data></data>",
                                    "<array/>",
                                    "<dict/>",
                                    "<array><dict><key>k</key><array><true/></array></dict></array>",
                                    "<!-- comment --><true/><?instruction?>"}) {
        expectTexts({{value, withValue(value), std::nullopt, "after"}});
    }
}

TEST(XmlPropertyList, readsEveryEncodingAMacReads) {
    const std::string declared = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + twoLines;
    const std::string latin =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
        "<dict><key>a</key><string>\xE9</string></dict>";
    const std::string utf16Face = inUtf16("<dict><key>a</key><string>", true, true) + "\xD8\x3D\xDE\x00"s +
                                  inUtf16("</string></dict>", true, false);
    expectTexts({
        {"without <plist>", twoLines, "x", std::nullopt},
        {"UTF-8 with mark", "\xEF\xBB\xBF" + inList(twoLines), "x", std::nullopt},
        {"white space first", "\n " + inList(twoLines), "x", std::nullopt},
        {"white space first, UTF-16", inUtf16(" \r\n\t" + inList(twoLines), false, true), "x", std::nullopt},
        {"UTF-16 big", inUtf16(twoLines, true, true), "x", std::nullopt},
        {"UTF-16 little", inUtf16(twoLines, false, true), "x", std::nullopt},
        {"UTF-16 big without mark", inUtf16(twoLines, true, false), "x", std::nullopt},
        {"UTF-16 little without mark", inUtf16(twoLines, false, false), "x", std::nullopt},
        {"UTF-16 declared", inUtf16(declared, false, true), "x", std::nullopt},
        {"UTF-16 beyond 16 bits", utf16Face, "\xF0\x9F\x98\x80", std::nullopt},
        {"Latin 1 declared", latin, "\xC3\xA9", std::nullopt},
        {"the mark over the declaration", "\xEF\xBB\xBF" + latin, refused},
    });
}

TEST(XmlPropertyList, refusesWhatIsNotAPropertyList) {
    for (const std::string content :
         {"", "<array/>", "<string>x</string>", "<dict/><dict/>", "<dict></dict>x", "x<dict/>",
          "<dict><string>x</string></dict>", "<dict><key>a</key></dict>",
          "<dict><key>a</key><key>b</key><true/></dict>", "<dict><key>a</key><true/><true/></dict>",
          "<dict><true/><key>a</key></dict>", "<dict>x<key>a</key><true/></dict>",
          "<dict><key>a</key>x<true/></dict>", "<dict><key>a</key><other/></dict>",
          "<dict><key>a</key><Dict/></dict>", "<dict><key>a</key><plist><true/></plist></dict>",
          "<dict><key>a<b/></key><true/></dict>", "<plist><dict/></plist>"}) {
        expectTexts({{content, inList(content), refused}});
    }
    expectTexts({
        {"nothing", "", refused},
        {"no markup", "bundle", refused},
        {"two roots", twoLines + twoLines, refused},
        {"text behind the root", twoLines + "x", refused},
        {"end without start", inRoot("</dict><dict>"), refused},
        {"crossed tags", inRoot("<key>a</key><array><dict></array></dict>"), refused},
        {"old-style list", "{ a = x; }", refused},
    });
}

TEST(XmlPropertyList, refusesMalformedValues) {
    for (const std::string value : {"<integer></integer>",
                                    "<integer>x</integer>",
                                    "<integer>1.5</integer>",
                                    "<integer>1 </integer>",
                                    "<integer>--1</integer>",
                                    "<integer>0x</integer>",
                                    "<integer>18446744073709551616</integer>",
                                    "<integer>-9223372036854775809</integer>",
                                    "<real></real>",
                                    "<real>1.5x</real>",
                                    "<real>+-1</real>",
                                    "<real>nan(1)</real>",
                                    "<date></date>",
                                    "<date>2001-02-03</date>",
                                    "<date>2001-02-03T04:05:06</date>",
                                    "<true>x</true>",
                                    "<true> </true>",
                                    "<true><true/></true>",
                                    "<string>a<b/>c</string>",
                                    "<string>a<!-- b -->c</string>",
                                    "<string>a<?b?>c</string>",
                                    "<array><key>k</key></array>",
                                    "<array>x</array>",
                                    "<string>&unknown;</string>",
                                    "<string>&#0;</string>",
                                    "<string>&#xD800;</string>",
                                    "<string>\xFF</string>",
                                    "<string>\xC0\xAF</string>",
                                    "<string>\xED\xA0\x80</string>"}) {
        expectTexts({{value, withValue(value), refused}});
    }
    expectTexts({{"NUL", withValue("<string>a\0b</string>"s), refused}});
}

TEST(XmlPropertyList, refusesUtf16WithoutPartners) {
    const auto around = [](const std::string& units) {
        return inUtf16("<dict><key>a</key><string>", true, true) + units +
               inUtf16("</string></dict>", true, false);
    };
    expectTexts({
        {"sound", around("\xD8\x3D\xDE\x00"s), "\xF0\x9F\x98\x80", std::nullopt},
        {"leading surrogate alone", around("\xD8\x3D\x00x"s), refused},
        {"trailing surrogate alone", around("\xDE\x00"s), refused},
        {"half a unit", around("\x00x"s) + "\0"s, refused},
    });
}

TEST(XmlPropertyList, refusesDeclarationsOfEntities) {
    const auto declaring = [](const std::string& declarations, const std::string& text) {
        return "<!DOCTYPE plist [" + declarations + "]><plist><dict><key>a</key><string>" + text +
               "</string></dict></plist>";
    };
    expectTexts({
        {"internal", declaring("<!ENTITY e 'x'>", "&e;"), refused},
        {"internal, not used", declaring("<!ENTITY e 'x'>", "x"), refused},
        {"external", declaring("<!ENTITY e SYSTEM 'file:///etc/hostname'>", "&e;"), refused},
        {"parameter", declaring("<!ENTITY % e SYSTEM 'file:///etc/hostname'> %e;", "x"), refused},
        {"default attribute", declaring("<!ATTLIST string b CDATA 'x'>", "x"), refused},
        {"bomb", declaring("<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;&a;&a;'>", "&b;&b;"),
         refused},
    });
}

TEST(XmlPropertyList, refusesEveryBeginning) {
    const std::string whole = inRoot(
        "<key>a</key><string>x&amp;y</string><key>c</key><array><integer>1</"
        "integer><date>2001-02-03T04:05:06Z"
        "</date><data>AQID</data><![CDATA[ ]]><!-- c --></array><key>b</key><string>after</string>");
    expectTexts({{"whole", whole, "x&y", "after"}});
    const std::size_t lastTagEnd = whole.rfind('>');
    for (std::size_t size = 0; size <= lastTagEnd; ++size) {
        expectTexts({{"prefix of " + std::to_string(size), whole.substr(0, size), refused}});
    }
}

TEST(XmlPropertyList, neverAnswersADamagedListWithInvalidText) {
    const std::string whole = withValue("<string>x\xC3\xA9</string>");
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const char byte : {'\0', '<', '&', '\x80', '\xED', ' '}) {
            std::string damaged = whole;
            damaged[place] = byte;
            expectValidOrRefused(damaged);
        }
    }
}

std::string nestedArrays(std::size_t count) {
    std::string value;
    for (std::size_t level = 0; level < count; ++level)
        value += "<array>";
    for (std::size_t level = 0; level < count; ++level)
        value += "</array>";
    return value;
}

TEST(XmlPropertyList, boundsDepthAndSize) {
    const std::string frame = withValue("<data></data>");
    const auto sized = [&](std::size_t size) {
        std::string digits(size - frame.size(), 'A');
        for (std::size_t end = 68; end < digits.size(); end += 69)
            digits[end] = '\n';
        return withValue("<data>" + digits + "</data>");
    };
    const std::string longest(64 * 1024, 'x');
    // Long enough to be handed on in pieces, with pairs of surrogates at every place of a piece's end.
    std::string pairs;
    for (int count = 0; count < 50'000; ++count)
        pairs += "\xD8\x3D\xDE\x00"s;
    const auto inLongUtf16 = [&](const std::string& filler) {
        return inUtf16("<dict><key>c</key><string>" + filler, true, true) + pairs +
               inUtf16("</string><key>a</key><string>x</string></dict>", true, false);
    };
    expectTexts({
        {"64 deep", withValue(nestedArrays(63)), std::nullopt, "after"},
        {"65 deep", withValue(nestedArrays(64)), refused},
        {"65 deep without <plist>", "<dict><key>a</key>" + nestedArrays(64) + "</dict>", refused},
        {"8 MiB", sized(propertyListSizeLimit), std::nullopt, "after"},
        {"over 8 MiB", sized(propertyListSizeLimit + 1), refused},
        {"text of 64 KiB", withValue("<string>" + longest + "</string>"), longest, "after"},
        {"text of more", withValue("<string>" + longest + "x</string>"), refused},
        {"long UTF-16", inLongUtf16(""), "x", std::nullopt},
        {"long UTF-16 by a unit more", inLongUtf16("x"), "x", std::nullopt},
    });
}

/// As many pieces as the longest list has room for.
TEST(XmlPropertyList, boundsWhatExpatReports) {
    const auto repeated = [](int count, const std::string& piece) {
        std::string text;
        for (int index = 0; index < count; ++index)
            text += piece;
        return inRoot("<key>c</key><string>" + text + "</string><key>a</key><string>x</string>");
    };
    expectTexts({
        {"line breaks of the longest list in base64", repeated(125'000, "A\n"), "x", std::nullopt},
        {"more line breaks", repeated(300'000, "\n"), refused},
        {"more entities", repeated(300'000, "&#65;"), refused},
    });
}

std::string filled(std::string list, const std::string& piece, const std::string& end) {
    const std::size_t start = list.size();
    const std::size_t room = (propertyListSizeLimit - start - end.size()) / piece.size() * piece.size();
    list.reserve(start + room + end.size());
    list += piece;
    // Doubled, since a call for each of eight million pieces takes long.
    while (list.size() < start + room)
        list.append(list, start, std::min(list.size() - start, start + room - list.size()));
    return list += end;
}

TEST(XmlPropertyList, spendsLittleOnHostileLists) {
    const std::string text = "<dict><key>c</key><string>";
    const std::string textEnd = "</string></dict>";
    const std::string array = "<dict><key>a</key><array>";
    const std::string arrayEnd = "</array></dict>";
    std::string attributes = "<dict ";
    for (int count = 0; attributes.size() < propertyListSizeLimit - 100; ++count) {
        attributes += "a" + std::to_string(count) + "='' ";
    }
    std::string bomb = "<!DOCTYPE plist [<!ENTITY e0 'bomb'>";
    for (int level = 1; level < 30; ++level) {
        const std::string inner = "&e" + std::to_string(level - 1) + ";";
        bomb += "<!ENTITY e" + std::to_string(level) + " '" + inner + inner + inner + inner + "'>";
    }
    expectLittleSpent("nesting", filled("", "<a>", ""));
    expectLittleSpent("arrays in one another", filled("<dict><key>a</key>", "<array>", ""));
    expectLittleSpent("small values", filled(array, "<true/>", arrayEnd));
    expectLittleSpent("texts", filled(array, "<string>x</string>", arrayEnd));
    expectLittleSpent("keys", filled("<dict>", "<key>a</key><string/>", "</dict>"));
    expectLittleSpent("long text", filled("<dict><key>a</key><string>", "x", textEnd));
    expectLittleSpent("line breaks", filled(text, "\n", textEnd));
    expectLittleSpent("entities", filled(text, "&amp;", textEnd));
    expectLittleSpent("brackets", filled(text + "<![CDATA[", "]", "]]>" + textEnd));
    expectLittleSpent("comment", filled(array + "<!--", "x", "-->" + arrayEnd));
    expectLittleSpent("comments", filled(array, "<!---->", arrayEnd));
    expectLittleSpent("attributes", attributes + "/>");
    expectLittleSpent("attribute's white space", filled("<dict a='", " ", "'/>"));
    expectLittleSpent("attribute's white space behind >", filled("<dict a='>", " ", "'/>"));
    expectLittleSpent("short attributes", filled(array, "<true a='' b='' c='' d='' e='' f=''/>", arrayEnd));
    expectLittleSpent("tag's white space", filled("<dict ", " ", "/>"));
    expectLittleSpent("name", filled("<", "x", "/>"));
    expectLittleSpent("identifier", filled("<!DOCTYPE plist PUBLIC '", " ", "' ''><dict/>"));
    expectLittleSpent("entity bomb", bomb + "]><dict><key>a</key><string>&e29;</string></dict>");
    expectLittleSpent("characters of two bytes", filled(text, "\xC3\xA9", textEnd));
    expectLittleSpent("long integer", filled("<dict><key>a</key><integer>", "9", "</integer></dict>"));
    expectLittleSpent("long real", filled("<dict><key>a</key><real>", "9", "</real></dict>"));
    expectLittleSpent("UTF-16", inUtf16("<dict><key>c</key><string>", true, true) +
                                    std::string(propertyListSizeLimit - 200, '\x30') +
                                    inUtf16("</string></dict>", true, false));
}

}  // namespace
}  // namespace quorvel
