#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <expat.h>
#include <memory>
#include <string>
#include <utility>

#include "platform/propertylist/PropertyListReaders.h"
#include "platform/propertylist/XmlValues.h"
#include "platform/text/Utf16.h"

namespace quorvel {

namespace {

/// How much is handed to expat at a time. Expat tells of a tag, a comment or a declaration only when it has
/// all of it: none may be longer than this.
constexpr std::size_t pieceSize = 64 * 1024;

/// Expat calls back for each start and end, and for each line break and each entity of a text, at 10 to 30
/// ns.
constexpr std::size_t eventLimit = 280'000;
/// What expat does for an attribute beside its value, and for two bytes of a value, is about as dear.
constexpr std::size_t eventsPerAttribute = 8;
constexpr std::size_t valueBytesPerEvent = 2;

enum class Element : std::uint8_t { plist, dict, array, key, string, data, date, integer, real, boolean };

constexpr std::array<std::pair<std::string_view, Element>, 11> elements{{
    {"key", Element::key},
    {"string", Element::string},
    {"dict", Element::dict},
    {"array", Element::array},
    {"integer", Element::integer},
    {"true", Element::boolean},
    {"false", Element::boolean},
    {"real", Element::real},
    {"date", Element::date},
    {"data", Element::data},
    {"plist", Element::plist},
}};

std::optional<Element> elementNamed(std::string_view name) {
    const auto* const found = std::ranges::find(elements, name, &decltype(elements)::value_type::first);
    return found == elements.end() ? std::nullopt : std::optional(found->second);
}

bool isContainer(Element element) {
    return element <= Element::array;
}

class Reader {
public:
    /// `encoding`: over what the document says of itself; null leaves it to the document.
    Reader(PropertyListRoot wantedRoot, std::span<const std::string_view> askedKeys, const char* encoding)
        : parser(XML_ParserCreate(encoding)),
          rootElement(wantedRoot == PropertyListRoot::dictionary ? Element::dict : Element::array),
          rowDepth(depthOfRows(wantedRoot)),
          keys(askedKeys) {
        XML_SetUserData(parser.get(), this);
        XML_SetElementHandler(
            parser.get(),
            [](void* reader, const char* name, const char** attributes) {
                self(reader).start(name, attributes);
            },
            [](void* reader, const char*) { self(reader).end(); });
        XML_SetCharacterDataHandler(parser.get(), [](void* reader, const char* text, int length) {
            self(reader).text({text, static_cast<std::size_t>(length)});
        });
        XML_SetCommentHandler(parser.get(), [](void* reader, const char*) { self(reader).interruption(); });
        XML_SetProcessingInstructionHandler(
            parser.get(), [](void* reader, const char*, const char*) { self(reader).interruption(); });
        // Only a document type's own declarations can define entities or default attributes: no property list
        // needs them. What its system identifier names is never fetched.
        XML_SetStartDoctypeDeclHandler(
            parser.get(), [](void* reader, const char*, const char*, const char*, int hasDeclarations) {
                if (hasDeclarations != 0) self(reader).refuse();
            });
        // With a document type that names an external part, expat passes over entities that it does not know.
        XML_SetSkippedEntityHandler(parser.get(),
                                    [](void* reader, const char*, int) { self(reader).refuse(); });
    }

    /// The next piece of the document, of `pieceSize` bytes at most; false when it is refused.
    bool feed(std::string_view piece, bool isLast) {
        fedBytes += piece.size();
        const auto status = XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), isLast);
        return status == XML_STATUS_OK && fedBytes - parsedBytes() <= pieceSize;
    }

    /// After the last piece.
    std::vector<PropertyListTexts> takeRows() { return std::move(rows); }

private:
    struct ParserDeleter {
        void operator()(XML_Parser finished) const { XML_ParserFree(finished); }
    };

    static Reader& self(void* reader) { return *static_cast<Reader*>(reader); }

    /// Where the token begins that expat has not yet seen the end of.
    std::size_t parsedBytes() const {
        return static_cast<std::size_t>(std::max(XML_GetCurrentByteIndex(parser.get()), XML_Index{0}));
    }

    /// Expat may still report what belongs to the same token, such as the end of an empty element.
    void refuse() {
        isRefused = true;
        XML_StopParser(parser.get(), XML_FALSE);
    }

    void spend(std::size_t events) {
        spentEvents += events;
        if (spentEvents > eventLimit) refuse();
    }

    void start(const char* name, const char** attributes) {
        spend(1);
        for (; *attributes != nullptr; attributes += 2) {
            spend(eventsPerAttribute + std::strlen(attributes[1]) / valueBytesPerEvent);
        }
        const auto element = elementNamed(name);
        if (!element || !isAdmissible(*element) || ++nodes > maxPropertyListNodes) return refuse();
        if (!isContainer(*element)) {
            leaf = element;
            leafText.clear();
            keepsLeafText = isLeafTextNeeded();
        } else {
            if (depth > 0 && collectionDepth() == maxPropertyListDepth) return refuse();
            path[depth++] = *element;
            if (isInRow()) rows.emplace_back(keys.size());
        }
        awaitsValue = false;
    }

    bool isAdmissible(Element element) const {
        if (leaf) return false;
        // A Mac does not ask for the outer <plist>.
        if (depth == 0) return element == Element::plist || element == rootElement;
        switch (path[depth - 1]) {
            case Element::plist:
                return element == rootElement && !rootWasRead;
            case Element::dict:
                return awaitsValue ? element != Element::key && element != Element::plist
                                   : element == Element::key;
            default:
                return element != Element::key && element != Element::plist;
        }
    }

    /// How many dictionaries and arrays are open, of one container or more.
    std::size_t collectionDepth() const { return depth - (path[0] == Element::plist ? 1 : 0); }

    /// Whether the innermost container is a dictionary that is read.
    bool isInRow() const { return collectionDepth() == rowDepth && path[depth - 1] == Element::dict; }

    bool isLeafTextNeeded() const {
        if (*leaf == Element::key) return isInRow();
        if (*leaf == Element::string) return isInRow() && asked;
        return *leaf != Element::data;
    }

    void end() {
        spend(1);
        if (isRefused) return;
        if (leaf) return endLeaf();
        const Element container = path[--depth];
        if (container == Element::plist && !rootWasRead) return refuse();
        if (container == Element::dict && awaitsValue) return refuse();
        rootWasRead = true;
    }

    void endLeaf() {
        switch (*leaf) {
            case Element::key:
                awaitsValue = true;
                if (isInRow()) ask();
                break;
            case Element::string:
                if (isInRow() && asked) rows.back()[*asked] = std::move(leafText);
                break;
            case Element::integer:
                if (!isInteger(leafText)) refuse();
                break;
            case Element::real:
                if (!isReal(leafText)) refuse();
                break;
            case Element::date:
                if (!isDate(leafText)) refuse();
                break;
            default:
                break;
        }
        leaf.reset();
    }

    /// Of a key that is there twice the last one counts, as on a Mac, whose reader sets the pairs of an XML
    /// dictionary one after another.
    void ask() {
        asked = askedIndex(keys, leafText);
        if (asked) rows.back()[*asked].reset();
    }

    void text(std::string_view run) {
        spend(1);
        if (isRefused) return;
        if (!leaf) {
            if (run.find_first_not_of(xmlWhiteSpace) != std::string_view::npos) refuse();
        } else if (*leaf == Element::boolean) {
            refuse();
        } else if (keepsLeafText) {
            leafText.append(run);
            if (leafText.size() > maxPropertyListText) refuse();
        }
    }

    /// A comment or instruction. Inside a value, a Mac's reader does not know them.
    void interruption() {
        spend(1);
        if (leaf) refuse();
    }

    const std::unique_ptr<XML_ParserStruct, ParserDeleter> parser;
    const Element rootElement;
    const std::size_t rowDepth;
    const std::span<const std::string_view> keys;
    std::vector<PropertyListTexts> rows;

    /// The open containers: perhaps <plist>, then dictionaries and arrays.
    std::array<Element, maxPropertyListDepth + 1> path{};
    std::size_t depth = 0;
    /// The open element that holds no others.
    std::optional<Element> leaf;
    std::string leafText;
    bool keepsLeafText = false;
    /// A key stands in the innermost dictionary, and its value does not.
    bool awaitsValue = false;
    bool rootWasRead = false;
    /// What the last key of the row asks for.
    std::optional<std::size_t> asked;
    bool isRefused = false;
    std::size_t fedBytes = 0;
    std::size_t nodes = 0;
    std::size_t spentEvents = 0;
};

using Rows = std::optional<std::vector<PropertyListTexts>>;

Rows readBytes(std::string_view bytes, const char* encoding, PropertyListRoot root,
               std::span<const std::string_view> keys) {
    Reader reader(root, keys, encoding);
    while (bytes.size() > pieceSize) {
        if (!reader.feed(bytes.substr(0, pieceSize), false)) return std::nullopt;
        bytes.remove_prefix(pieceSize);
    }
    if (!reader.feed(bytes, true)) return std::nullopt;
    return reader.takeRows();
}

/// Expat reads UTF-16 itself, but takes any unit for the partner of a leading surrogate.
Rows readUtf16(std::string_view units, std::endian order, PropertyListRoot root,
               std::span<const std::string_view> keys) {
    Reader reader(root, keys, "UTF-8");
    bool isAtStart = true;
    const bool isRead = visitUtf16(units, order, [&](std::string_view piece) {
        if (isAtStart) skipWhiteSpace(piece);
        isAtStart = isAtStart && piece.empty();
        return reader.feed(piece, false);
    });
    if (!isRead || !reader.feed("", true)) return std::nullopt;
    return reader.takeRows();
}

}  // namespace

Rows readXmlPropertyList(std::string_view bytes, PropertyListRoot root,
                         std::span<const std::string_view> keys) {
    using namespace std::string_view_literals;
    // In each encoding, a Mac lets white space stand before the XML declaration, which XML does not.
    if (bytes.starts_with("\xFE\xFF"sv)) return readUtf16(bytes.substr(2), std::endian::big, root, keys);
    if (bytes.starts_with("\xFF\xFE"sv)) return readUtf16(bytes.substr(2), std::endian::little, root, keys);
    if (bytes.starts_with("\0<"sv)) return readUtf16(bytes, std::endian::big, root, keys);
    if (bytes.starts_with("<\0"sv)) return readUtf16(bytes, std::endian::little, root, keys);
    const bool hasMark = bytes.starts_with("\xEF\xBB\xBF"sv);
    if (hasMark) bytes.remove_prefix(3);
    skipWhiteSpace(bytes);
    return readBytes(bytes, hasMark ? "UTF-8" : nullptr, root, keys);
}

}  // namespace quorvel
