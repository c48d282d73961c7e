#include <array>
#include <cstdint>
#include <string>

#include "platform/propertylist/PropertyListReaders.h"
#include "platform/text/Text.h"
#include "platform/text/Utf16.h"

namespace quorvel {

namespace {

// The layout: "bplist0" and a version digit, the objects, the table of their offsets, and a trailer of 32
// bytes: 6 that mean nothing here, the width of an offset, the width of a reference, then as 8 bytes each the
// number of objects, the index of the root, the offset of the table. Numbers are big-endian.
constexpr std::size_t headerSize = 8;
constexpr std::size_t trailerSize = 32;

enum class Kind : std::uint8_t {
    simple = 0x0,
    integer = 0x1,
    real = 0x2,
    date = 0x3,
    data = 0x4,
    asciiText = 0x5,
    utf16Text = 0x6,
    uid = 0x8,
    array = 0xA,
    dictionary = 0xD,
};

struct Object {
    Kind kind;
    /// The low half of the marker byte.
    std::uint8_t detail;
    /// Of texts in characters or units, of data in bytes, of collections in members.
    std::uint64_t count;
    std::size_t content;
};

/// A dictionary or array on the way from the root to the value at hand. A dictionary's references are its
/// keys, then its values; an array has values only.
struct Collection {
    std::size_t keys;
    std::size_t values;
    std::size_t count;
    std::size_t next;
    bool hasKeys;
};

class Reader {
public:
    Reader(std::string_view list, PropertyListRoot wantedRoot, std::span<const std::string_view> asked)
        : bytes(list),
          rootKind(wantedRoot == PropertyListRoot::dictionary ? Kind::dictionary : Kind::array),
          rowDepth(depthOfRows(wantedRoot)),
          keys(asked) {}

    std::optional<std::vector<PropertyListTexts>> read() {
        if (!readTrailer() || !areOffsetsInside()) return std::nullopt;
        const auto root = objectAt(rootIndex);
        if (!root || root->kind != rootKind || !enter(*root)) return std::nullopt;
        while (depth > 0) {
            if (!visitNext()) return std::nullopt;
        }
        return std::move(rows);
    }

private:
    /// `width` is 1 to 8 and the bytes are inside.
    std::uint64_t numberAt(std::size_t offset, std::size_t width) const {
        std::uint64_t number = 0;
        for (std::size_t index = 0; index < width; ++index) {
            number = number << 8 | static_cast<unsigned char>(bytes[offset + index]);
        }
        return number;
    }

    bool readTrailer() {
        if (bytes.size() < headerSize + 1 + trailerSize) return false;
        const std::size_t trailer = bytes.size() - trailerSize;
        offsetWidth = static_cast<unsigned char>(bytes[trailer + 6]);
        referenceWidth = static_cast<unsigned char>(bytes[trailer + 7]);
        objectCount = numberAt(trailer + 8, 8);
        rootIndex = numberAt(trailer + 16, 8);
        const std::uint64_t table = numberAt(trailer + 24, 8);
        if (offsetWidth < 1 || offsetWidth > 8 || referenceWidth < 1 || referenceWidth > 8) return false;
        if (objectCount > maxPropertyListNodes) return false;
        if (table <= headerSize || table > trailer) return false;
        objectsEnd = static_cast<std::size_t>(table);
        // Nothing may stand between the table and the trailer: a cut or padded file is a damaged one.
        return trailer - objectsEnd == objectCount * offsetWidth;
    }

    std::uint64_t offsetOf(std::uint64_t index) const {
        return numberAt(objectsEnd + static_cast<std::size_t>(index) * offsetWidth, offsetWidth);
    }

    bool areOffsetsInside() const {
        for (std::uint64_t index = 0; index < objectCount; ++index) {
            const std::uint64_t offset = offsetOf(index);
            if (offset < headerSize || offset >= objectsEnd) return false;
        }
        return true;
    }

    bool fits(std::size_t offset, std::uint64_t count, std::size_t width) const {
        return count <= (objectsEnd - offset) / width;
    }

    /// Reads the marker, and the count that follows it when its low half is 15.
    std::optional<Object> objectAt(std::uint64_t index) const {
        if (index >= objectCount) return std::nullopt;
        auto offset = static_cast<std::size_t>(offsetOf(index));
        const auto marker = static_cast<unsigned char>(bytes[offset++]);
        Object object{static_cast<Kind>(marker >> 4), static_cast<std::uint8_t>(marker & 0xF), marker & 0xFU,
                      offset};
        if (object.detail != 0xF || object.kind < Kind::data || object.kind == Kind::uid) return object;
        if (!fits(offset, 1, 1)) return std::nullopt;
        const auto widthMarker = static_cast<unsigned char>(bytes[offset++]);
        if (widthMarker < 0x10 || widthMarker > 0x13) return std::nullopt;
        const std::size_t width = std::size_t{1} << (widthMarker & 0xF);
        if (!fits(offset, width, 1)) return std::nullopt;
        object.count = numberAt(offset, width);
        object.content = offset + width;
        return object;
    }

    std::optional<Object> referenceAt(std::size_t references, std::size_t index) const {
        return objectAt(numberAt(references + index * referenceWidth, referenceWidth));
    }

    bool enter(const Object& object) {
        const bool hasKeys = object.kind == Kind::dictionary;
        if (!fits(object.content, object.count, referenceWidth * (hasKeys ? 2 : 1))) return false;
        if (depth == path.size()) return false;
        const auto count = static_cast<std::size_t>(object.count);
        const std::size_t values = object.content + (hasKeys ? count * referenceWidth : 0);
        path[depth++] = {object.content, values, count, 0, hasKeys};
        if (hasKeys && depth == rowDepth) startRow();
        return true;
    }

    /// Kept out of the walk, which is half again as slow with it inside.
    [[gnu::noinline]] void startRow() {
        rows.emplace_back(keys.size());
        isSeen.assign(keys.size(), false);
    }

    /// Visits the next member of the innermost collection, or leaves it behind its last one.
    bool visitNext() {
        Collection& collection = path[depth - 1];
        if (collection.next == collection.count) {
            --depth;
            return true;
        }
        const std::size_t index = collection.next++;
        std::optional<std::size_t> asked;
        if (collection.hasKeys) {
            const auto key = referenceAt(collection.keys, index);
            if (!key || !isText(*key) || !isSoundLeaf(*key)) return false;
            if (depth == rowDepth) asked = newlyAsked(*key);
        }
        const auto value = referenceAt(collection.values, index);
        if (!value) return false;
        if (value->kind == Kind::array || value->kind == Kind::dictionary) {
            return spend(0) && enter(*value);
        }
        if (!isSoundLeaf(*value)) return false;
        return !asked || !isText(*value) || keep(*asked, *value);
    }

    static bool isText(const Object& object) {
        return object.kind == Kind::asciiText || object.kind == Kind::utf16Text;
    }

    /// Counts what a visit costs: many references to one long text are as dear as many long texts. The
    /// bytes of a list in which no value is shared are never more than the list's own.
    bool spend(std::uint64_t contentBytes) {
        ++visitedNodes;
        visitedBytes += contentBytes;
        return visitedNodes <= maxPropertyListNodes && visitedBytes <= propertyListSizeLimit;
    }

    bool isSoundLeaf(const Object& object) {
        switch (object.kind) {
            case Kind::simple:  // null, false, true
                return spend(0) && (object.detail == 0 || object.detail == 8 || object.detail == 9);
            case Kind::integer:
                return object.detail <= 4 && isSoundContent(object, std::uint64_t{1} << object.detail);
            case Kind::real:
                return (object.detail == 2 || object.detail == 3) &&
                       isSoundContent(object, std::uint64_t{1} << object.detail);
            case Kind::date:
                return object.detail == 3 && isSoundContent(object, 8);
            case Kind::uid:
                return object.detail < 8 && isSoundContent(object, std::uint64_t{object.detail} + 1);
            case Kind::data:
                return isSoundContent(object, object.count);
            case Kind::asciiText:
                return isSoundContent(object, object.count) && text::isAscii(contentOf(object));
            case Kind::utf16Text:
                return fits(object.content, object.count, 2) && spend(object.count * 2) &&
                       visitUtf16(contentOf(object), std::endian::big, [](auto) { return true; });
            default:
                return false;
        }
    }

    bool isSoundContent(const Object& object, std::uint64_t size) {
        return fits(object.content, size, 1) && spend(size);
    }

    /// Of a text whose content is inside.
    std::string_view contentOf(const Object& object) const {
        const std::size_t width = object.kind == Kind::utf16Text ? 2 : 1;
        return bytes.substr(object.content, static_cast<std::size_t>(object.count) * width);
    }

    bool keep(std::size_t asked, const Object& object) {
        if (contentOf(object).size() > maxPropertyListText) return false;
        rows.back()[asked] = textOf(object);
        return true;
    }

    std::string textOf(const Object& object) const {
        if (object.kind == Kind::asciiText) return std::string(contentOf(object));
        std::string text;
        visitUtf16(contentOf(object), std::endian::big, [&](std::string_view piece) {
            text += piece;
            return true;
        });
        return text;
    }

    /// The place of a key among those asked for. Of a key that is there twice the first one counts, as on a
    /// Mac, whose reader adds the pairs of a binary dictionary without replacing.
    std::optional<std::size_t> newlyAsked(const Object& key) {
        const auto asked =
            key.kind == Kind::asciiText ? askedIndex(keys, contentOf(key)) : askedIndex(keys, textOf(key));
        if (!asked || isSeen[*asked]) return std::nullopt;
        isSeen[*asked] = true;
        return asked;
    }

    const std::string_view bytes;
    const Kind rootKind;
    const std::size_t rowDepth;
    const std::span<const std::string_view> keys;
    std::vector<PropertyListTexts> rows;
    /// Of the last row, which of the keys have come.
    std::vector<bool> isSeen;

    std::size_t offsetWidth = 0;
    std::size_t referenceWidth = 0;
    std::uint64_t objectCount = 0;
    std::uint64_t rootIndex = 0;
    /// Where the objects end and the table of offsets begins.
    std::size_t objectsEnd = 0;

    std::array<Collection, maxPropertyListDepth> path;
    std::size_t depth = 0;
    std::size_t visitedNodes = 0;
    std::uint64_t visitedBytes = 0;
};

}  // namespace

std::optional<std::vector<PropertyListTexts>> readBinaryPropertyList(std::string_view bytes,
                                                                     PropertyListRoot root,
                                                                     std::span<const std::string_view> keys) {
    return Reader(bytes, root, keys).read();
}

}  // namespace quorvel
