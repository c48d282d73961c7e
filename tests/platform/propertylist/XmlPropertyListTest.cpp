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

/// The units of ASCII.
std::string inUtf16(std::string_view ascii, bool isBigEndian) {
    std::string units;
    for (const char character : ascii)
        units += isBigEndian ? std::string{'\0', character} : std::string{character, '\0'};
    return units;
}

const std::string bareList = "<dict><key>a</key><string>x</string></dict>";

TEST(XmlPropertyList, readsATextAsAMacDoes) {
    expectTexts({
        {"empty element", withValue("<string/>"), Texts{"", "after"}},
        {"white space kept", withValue("<string> 1\n\t</string>"), Texts{" 1\n\t", "after"}},
        {"entities and CDATA", withValue("<string>&lt;&#65;&#x1F600;<![CDATA[<b>&amp;]]>\u00E9</string>"),
         Texts{"<A\U0001F600<b>&amp;\u00E9", "after"}},
    });
}

TEST(XmlPropertyList, passesOverEveryOtherSoundValue) {
    for (const std::string value :
         {"<integer>-12</integer>", "<integer> + 12</integer>", "<integer>-0X1fA</integer>",
          "<integer>18446744073709551615</integer>", "<integer>-9223372036854775808</integer>",
          "<real>1.5</real>", "<real>\n-.1E-7</real>", "<real>2.e+999</real>", "<real>+Infinity</real>",
          "<real>nan</real>", "<date>2001-02-03T04:05:06Z</date>", "<date>-0001-02-03T04:05:06Z</date>",
          "<true/>", "<false></false>", "<data>\n\tAQID\n\t</data>", "<array><!-- c --><?i?></array>",
          "<array><dict><key>k</key><array><true/></array></dict></array>"})
        expectTexts({{value, withValue(value), Texts{none, "after"}}});
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
        {"UTF-16 big without mark", inUtf16(bareList, true), expected},
        {"UTF-16 little without mark", inUtf16(bareList, false), expected},
        {"UTF-16 declared", "\xFF\xFE" + inUtf16("\n" + declared, false), expected},
        // Converted in pieces, a pair of surrogates at a piece's end.
        {"long UTF-16",
         inUtf16("<dict><key>a</key><string>x", true) + repeated(5'000, "\xD8\x3D\xDE\x00"s) +
             inUtf16("</string></dict>", true),
         Texts{"x" + repeated(5'000, "\U0001F600"), none}},
        {"Latin 1 declared", latin, Texts{"\u00E9", none}},
    });
}

TEST(XmlPropertyList, refusesWhatIsNotAPropertyList) {
    for (const std::string content :
         {"", "<array/>", "<dict/><dict/>", "x<dict/>", "<dict><key>a</key></dict>",
          "<dict><key>a</key><true/><true/></dict>", "<dict><key>a</key><other/></dict>"})
        expectTexts({{content, inList(content), refused}});
    const auto declaring = [](const std::string& declarations) {
        return "<!DOCTYPE plist [" + declarations + "]>" + bareList;
    };
    expectTexts({
        {"entity", declaring("<!ENTITY e 'x'>"), refused},
        {"parameter entity", declaring("<!ENTITY % e SYSTEM 'file:///etc/hostname'> %e;"), refused},
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
