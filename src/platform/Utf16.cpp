#include "platform/Utf16.h"

#include <cstddef>
#include <cstdint>

namespace quorvel::utf16 {

namespace {

std::uint32_t unitAt(std::string_view bytes, std::size_t offset, std::endian order) {
    const auto first = static_cast<unsigned char>(bytes[offset]);
    const auto second = static_cast<unsigned char>(bytes[offset + 1]);
    return order == std::endian::big ? static_cast<std::uint32_t>(first << 8 | second)
                                     : static_cast<std::uint32_t>(second << 8 | first);
}

bool isLeadSurrogate(std::uint32_t unit) {
    return (unit & 0xFC00) == 0xD800;
}
bool isTrailSurrogate(std::uint32_t unit) {
    return (unit & 0xFC00) == 0xDC00;
}

void appendCharacter(std::uint32_t character, std::string& text) {
    const auto put = [&text](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (character < 0x80) return put(character);
    if (character < 0x800) {
        put(0xC0 | character >> 6);
    } else {
        if (character < 0x10000) {
            put(0xE0 | character >> 12);
        } else {
            put(0xF0 | character >> 18);
            put(0x80 | (character >> 12 & 0x3F));
        }
        put(0x80 | (character >> 6 & 0x3F));
    }
    put(0x80 | (character & 0x3F));
}

}  // namespace

bool isValid(std::string_view bytes, std::endian order) {
    if (bytes.size() % 2 != 0) return false;
    const std::size_t highByte = order == std::endian::big ? 0 : 1;
    for (std::size_t offset = 0; offset < bytes.size(); offset += 2) {
        // D8 to DF: the high bytes of all surrogates and of nothing else.
        if ((static_cast<unsigned char>(bytes[offset + highByte]) & 0xF8) != 0xD8) continue;
        if (!isLeadSurrogate(unitAt(bytes, offset, order))) return false;
        offset += 2;
        if (offset == bytes.size() || !isTrailSurrogate(unitAt(bytes, offset, order))) return false;
    }
    return true;
}

void appendAsUtf8(std::string_view bytes, std::endian order, std::string& text) {
    for (std::size_t offset = 0; offset + 1 < bytes.size(); offset += 2) {
        std::uint32_t character = unitAt(bytes, offset, order);
        if (isLeadSurrogate(character)) {
            offset += 2;
            character = 0x10000 + ((character & 0x3FF) << 10 | (unitAt(bytes, offset, order) & 0x3FF));
        }
        appendCharacter(character, text);
    }
}

}  // namespace quorvel::utf16
