#include "platform/text/Utf16.h"

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

/// Writes the character's UTF-8 and returns the place behind it.
char* put(std::uint32_t character, char* place) {
    const auto lead = [&](std::uint32_t byte) { *place++ = static_cast<char>(byte); };
    const auto trail = [&](std::uint32_t bits) { *place++ = static_cast<char>(0x80 | (bits & 0x3F)); };
    if (character < 0x80) {
        lead(character);
    } else if (character < 0x800) {
        lead(0xC0 | character >> 6);
        trail(character);
    } else if (character < 0x10000) {
        lead(0xE0 | character >> 12);
        trail(character >> 6);
        trail(character);
    } else {
        lead(0xF0 | character >> 18);
        trail(character >> 12);
        trail(character >> 6);
        trail(character);
    }
    return place;
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

bool endsInsidePair(std::string_view bytes, std::endian order) {
    return bytes.size() >= 2 && isLeadSurrogate(unitAt(bytes, bytes.size() - 2, order));
}

void appendAsUtf8(std::string_view bytes, std::endian order, std::string& text) {
    const std::size_t lengthBefore = text.size();
    // A unit takes three bytes at most; a pair of surrogates takes four.
    text.resize_and_overwrite(lengthBefore + bytes.size() / 2 * 3, [&](char* characters, std::size_t) {
        char* place = characters + lengthBefore;
        for (std::size_t offset = 0; offset + 1 < bytes.size(); offset += 2) {
            std::uint32_t character = unitAt(bytes, offset, order);
            if (isLeadSurrogate(character)) {
                offset += 2;
                character = 0x10000 + ((character & 0x3FF) << 10 | (unitAt(bytes, offset, order) & 0x3FF));
            }
            place = put(character, place);
        }
        return static_cast<std::size_t>(place - characters);
    });
}

}  // namespace quorvel::utf16
