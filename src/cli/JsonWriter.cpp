#include "cli/JsonWriter.h"

#include <algorithm>
#include <array>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// Whether the byte stands in a JSON text as it is.
bool isPlain(char byte) {
    return byte >= ' ' && byte < '\x7f' && byte != '"' && byte != '\\';
}

/// As RFC 8259 names them.
char shortEscape(std::int32_t character) {
    switch (character) {
        case '"':
        case '\\':
            return static_cast<char>(character);
        case '\b':
            return 'b';
        case '\f':
            return 'f';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        default:
            return 0;
    }
}

}  // namespace

void JsonWriter::begin(char bracket) {
    separate();
    text += bracket;
    ++depth;
    isEmpty = true;
}

void JsonWriter::end(char bracket) {
    --depth;
    if (!isEmpty) breakLine();
    text += bracket;
    isEmpty = false;
}

void JsonWriter::key(std::string_view key) {
    separate();
    text.append("\"").append(key).append(isIndented ? "\": " : "\":");
    followsKey = true;
}

void JsonWriter::separate() {
    const bool isFirst = isEmpty;
    isEmpty = false;
    if (followsKey) {
        followsKey = false;
        return;
    }
    if (!isFirst) text += ',';
    if (depth > 0) breakLine();
}

void JsonWriter::breakLine() {
    if (isIndented) text.append("\n").append(2 * depth, ' ');
}

void JsonWriter::scalar(std::string_view written) {
    separate();
    text += written;
}

void JsonWriter::value(std::string_view characters) {
    separate();
    text += '"';
    if (std::ranges::all_of(characters, isPlain)) {
        text += characters;
    } else {
        escape(characters);
    }
    text += '"';
}

void JsonWriter::escape(std::string_view characters) {
    constexpr std::int32_t replacement = 0xFFFD;
    for (std::size_t offset = 0; offset < characters.size();) {
        const std::size_t start = offset;
        const std::int32_t found = text::nextCodePoint(characters, offset);
        const std::int32_t character = found < 0 ? replacement : found;
        if (const char letter = shortEscape(character)) {
            text.append("\\") += letter;
        } else if (character < ' ' || (isAscii && character > '~' && character < 0x10000)) {
            escapeUnit(static_cast<unsigned>(character));
        } else if (isAscii && character > '~') {
            const auto above = static_cast<unsigned>(character) - 0x10000;
            escapeUnit(0xD800 + (above >> 10));
            escapeUnit(0xDC00 + (above & 0x3FF));
        } else {
            text.append(found < 0 ? "\uFFFD" : characters.substr(start, offset - start));
        }
    }
}

void JsonWriter::escapeUnit(unsigned unit) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += "\\u";
    for (const int shift : {12, 8, 4, 0})
        text += digits[unit >> shift & 0xF];
}

}  // namespace quorvel
