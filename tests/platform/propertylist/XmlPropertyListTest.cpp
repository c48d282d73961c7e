#include "PropertyListRows.h"
#include "support/Texts.h"

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

/// The units of ASCII, behind a mark of byte order if one is asked for.
std::string inUtf16(std::string_view ascii, bool isBigEndian, bool hasMark) {
    std::string units = !hasMark ? "" : isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char character : ascii)
        units += isBigEndian ? std::string{'\0', character} : std::string{character, '\0'};
    return units;
}

/// A big-endian list whose key "a" has a text of these units.
std::string withUnits(const std::string& units) {
    return inUtf16("<dict><key>a</key><string>", true, true) + units +
           inUtf16("</string></dict>", true, false);
}

const std::string bareList = "<dict><key>a</key><string>x</string></dict>";

TEST(XmlPropertyList, readsATextAsAMacDoes) {
    expectTexts({
        {"empty", withValue("<string></string>"), Texts{"", "after"}},
        {"empty element", withValue("<string/>"), Texts{"", "after"}},
        {"white space kept", withValue("<string> 1\n\t</string>"), Texts{" 1\n\t", "after"}},
        {"entities and CDATA", withValue("<string>&lt;&#65;&#x1F600;<![CDATA[<b>&amp;]]>\u00E9</string>"),
         Texts{"<A\U0001F600<b>&amp;\u00E9", "after"}},
        {"attributes ignored", withValue("<string xml:lang=\"en\">x</string>"), Texts{"x", "after"}},
        {"key with entities", inRoot("<key>&#97;</key><string>x</string>"), Texts{"x", none}},
        {"last of two keys",
         inRoot("<key>a</key><string>x</string><key>b</key><true/><key>a</key><string>y</string>"),
         Texts{"y", none}},
        {"last of two keys no text", inRoot("<key>a</key><string>x</string><key>a</key><true/>"),
         Texts{none, none}},
        {"nested keys are not the root's",
         withValue("<dict><key>a</key><string>x</string><key>b</key><string>y</string></dict>"),
         Texts{none, "after"}},
        {"texts of an array are not its key's", withValue("<array><string>x</string></array>"),
         Texts{none, "after"}},
    });
}

TEST(XmlPropertyList, passesOverEveryOtherSoundValue) {
    const std::string largest = "18446744073709551615", smallest = "-9223372036854775808";
    const struct {
        std::string element;
        std::vector<std::string> sound, malformed;
    } rows[] = {
        {"integer",
         {"-12", " + 12", "0x1fA", "-0X10", largest, smallest},
         {"", "x", "1.5", "1 ", "--1", "0x", "18446744073709551616", "-9223372036854775809"}},
        {"real",
         {"1.5", "\n-.1E-7", "2.e+999", "+Infinity", "-inf", "nan"},
         {"", ".", "1.5x", "1e", "1e+", "+-1", "+ 1", "nan(1)"}},
        {"date",
         {"2001-02-03T04:05:06Z", "-0001-02-03T04:05:06Z"},
         {"", "2001-02-03T04:05:06", "2001-02-03 04:05:06Z", "2001-02-0xT04:05:06Z"}},
        {"true", {""}, {" ", "<true/>"}},
        {"false", {""}, {"x"}},
        {"data", {"", "\n\tAQID\n\t"}, {"<data/>"}},
        {"array",
         {"", "<dict><key>k</key><array><true/></array></dict>", "<!-- c --><?i?>"},
         {"<key>k</key>", "x"}},
        {"string", {}, {"a<b/>c", "a<!-- b -->c", "a<?b?>c", "&unknown;", "\xED\xA0\x80"}},
    };
    for (const auto& [element, sound, malformed] : rows) {
        const auto list = [&](const std::string& value) {
            return withValue("<" + element + ">" + value + "</" + element + ">");
        };
        for (const auto& value : sound)
            expectTexts({{element + " " + value, list(value), Texts{none, "after"}}});
        for (const auto& value : malformed)
            expectTexts({{element + " " + value, list(value), refused}});
    }
}

TEST(XmlPropertyList, readsEveryEncodingAMacReads) {
    const std::string latin =
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><dict><key>a</key><string>\xE9</string></dict>";
    const std::string declared = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>" + bareList;
    const Texts expected{"x", none};
    expectTexts({
        {"without <plist>", bareList, expected},
        {"UTF-8 with mark", "\xEF\xBB\xBF" + inList(bareList), expected},
        {"white space first", "\n " + inList(bareList), expected},
        {"white space first, UTF-16", inUtf16("\n" + inList(bareList), false, true), expected},
        {"UTF-16 big without mark", inUtf16(bareList, true, false), expected},
        {"UTF-16 little without mark", inUtf16(bareList, false, false), expected},
        {"UTF-16 declared", inUtf16(declared, false, true), expected},
        // Converted in pieces, with pairs of surrogates at either place of a piece's end.
        {"long UTF-16", withUnits(repeated(5'000, "\xD8\x3D\xDE\x00"s)),
         Texts{repeated(5'000, "\U0001F600"), none}},
        {"by a unit more", withUnits("\x00x"s + repeated(5'000, "\xD8\x3D\xDE\x00"s)),
         Texts{"x" + repeated(5'000, "\U0001F600"), none}},
        {"leading surrogate alone", withUnits("\xD8\x3D\x00x"s), refused},
        {"trailing surrogate alone", withUnits("\xDE\x00"s), refused},
        {"half a unit", withUnits("\x00x"s) + "\0"s, refused},
        {"Latin 1 declared", latin, Texts{"\u00E9", none}},
        {"the mark over the declaration", "\xEF\xBB\xBF" + latin, refused},
    });
}

TEST(XmlPropertyList, refusesWhatIsNotAPropertyList) {
    for (const std::string content :
         {"", "<array/>", "<string>x</string>", "<dict/><dict/>", "<dict></dict>x", "x<dict/>",
          "<dict><string>x</string></dict>", "<dict><key>a</key></dict>",
          "<dict><key>a</key><key>b</key><true/></dict>", "<dict><key>a</key><true/><true/></dict>",
          "<dict>x<key>a</key><true/></dict>", "<dict><key>a</key>x<true/></dict>",
          "<dict><key>a</key><other/></dict>", "<dict><key>a</key><plist><true/></plist></dict>",
          "<dict><key>a<b/></key><true/></dict>",
          "<dict><key>a</key><array><true><true/></true></array></dict>", "<plist><dict/></plist>"}) {
        expectTexts({{content, inList(content), refused}});
    }
    const auto declaring = [](const std::string& declarations) {
        return "<!DOCTYPE plist [" + declarations + "]>" + bareList;
    };
    expectTexts({
        {"nothing", "", refused},
        {"two roots", bareList + bareList, refused},
        {"crossed tags", inRoot("<key>a</key><array><dict></array></dict>"), refused},
        {"entity", declaring("<!ENTITY e 'x'>"), refused},
        {"parameter entity", declaring("<!ENTITY % e SYSTEM 'file:///etc/hostname'> %e;"), refused},
        {"default attribute", declaring("<!ATTLIST string b CDATA 'x'>"), refused},
    });
    const std::string whole = inRoot(
        "<key>a</key><string>x&amp;y</string><key>c</key><array><integer>1</integer><![CDATA[ ]]><!-- c "
        "--></array>");
    expectTexts({{"whole", whole, Texts{"x&y", none}}});
    expectOnlyWhole(whole, whole.rfind('>') + 1);
}

TEST(XmlPropertyList, boundsDepthSizeAndWhatExpatReports) {
    const auto arrays = [](std::size_t count) {
        return repeated(count, "<array>") + repeated(count, "</array>");
    };
    const auto sized = [](std::size_t size) {
        const std::string frame = withValue("<data></data>");
        return withValue("<data>" + std::string(size - frame.size(), 'A') + "</data>");
    };
    const std::string longest(64 * 1024, 'x');
    // Beside the values, the list has the <plist>, its root, two keys, the array and a text.
    constexpr std::size_t maxValues = 100'000 - 6;
    const Texts expected{none, "after"};
    const auto withText = [](const std::string& text) {
        return inRoot("<key>c</key><string>" + text + "</string><key>b</key><string>after</string>");
    };
    expectTexts({
        {"64 deep", withValue(arrays(63)), expected},
        {"65 deep", withValue(arrays(64)), refused},
        {"8 MiB", sized(propertyListSizeLimit), expected},
        {"over 8 MiB", sized(propertyListSizeLimit + 1), refused},
        {"text of 64 KiB", withValue("<string>" + longest + "</string>"), Texts{longest, "after"}},
        {"text of more", withValue("<string>" + longest + "x</string>"), refused},
        {"integer of more", withValue("<integer>" + std::string(longest.size(), '0') + "1</integer>"),
         refused},
        {"unasked text of more", withText(longest + "x"), expected},
        {"as many values as may be", withValue("<array>" + repeated(maxValues, "<true/>") + "</array>"),
         expected},
        {"one more", withValue("<array>" + repeated(maxValues + 1, "<true/>") + "</array>"), refused},
        // What 8 MiB of base64 have.
        {"line breaks", withText(repeated(125'000, "A\n")), expected},
        {"more line breaks", withText(repeated(300'000, "\n")), refused},
        {"more entities", withText(repeated(300'000, "&#65;")), refused},
        {"comments", withValue("<array>" + repeated(300'000, "<!---->") + "</array>"), refused},
        {"attributes", withValue("<array>" + repeated(10'000, "<true a='' b='' c='' d=''/>") + "</array>"),
         refused},
        {"attributes' values",
         withValue("<array>" + repeated(20, "<true a='" + std::string(30'000, 'x') + "'/>") + "</array>"),
         refused},
        {"a token of 64 KiB", withValue("<!--" + std::string(60'000, 'x') + "--><true/>"), expected},
        {"a longer one", withValue("<!--" + std::string(200'000, 'x') + "--><true/>"), refused},
    });
}

}  // namespace
}  // namespace quorvel
