#include "cli/fleet/JsonPieces.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace quorvel {

namespace {

constexpr std::size_t blockSize = 128 * 1024;

enum class Byte : std::uint8_t { other, control, space, quote, backslash, open, close, comma };

constexpr std::array<Byte, 256> byteTable = [] {
    std::array<Byte, 256> table{};
    for (std::size_t value = 0; value < ' '; ++value)
        table[value] = Byte::control;
    table[' '] = table['\t'] = table['\n'] = table['\r'] = Byte::space;
    table['"'] = Byte::quote;
    table['\\'] = Byte::backslash;
    table['{'] = table['['] = Byte::open;
    table['}'] = table[']'] = Byte::close;
    table[','] = Byte::comma;
    return table;
}();

Byte kindOf(char byte) {
    return byteTable[static_cast<unsigned char>(byte)];
}

}  // namespace

JsonPieces::JsonPieces(ByteReader reader) : read(std::move(reader)), buffer(blockSize + padding) {}

/// Makes room, which moves what is kept to the front, and reads on.
bool JsonPieces::refill() {
    std::memmove(buffer.data(), buffer.data() + mark, filled - mark);
    consumed += mark;
    filled -= mark;
    position -= mark;
    mark = 0;
    if (filled > maxPiece) {
        fault = Fault::tooLong;
        return false;
    }
    if (filled + blockSize + padding > buffer.size()) buffer.resize(filled + blockSize + padding);
    const auto count = read(std::span(buffer).subspan(filled, blockSize));
    fault = count < 0 ? Fault::unreadable : Fault::cut;
    if (count <= 0) return false;
    filled += static_cast<std::size_t>(count);
    return true;
}

bool JsonPieces::fail(Fault why) {
    fault = why;
    return false;
}

bool JsonPieces::skipWhiteSpace(bool isKept) {
    while (hasByte()) {
        if (kindOf(buffer[position]) != Byte::space) return true;
        ++position;
        if (!isKept) mark = position;
    }
    return false;
}

std::string_view JsonPieces::peek() {
    using namespace std::string_view_literals;
    const auto readOn = [this] {
        constexpr std::size_t enough = 8;
        while (filled - position < enough && refill()) {
        }
        return std::string_view(buffer.data() + position, filled - position);
    };
    if (readOn().starts_with("\xEF\xBB\xBF"sv)) mark = position = 3;
    skipWhiteSpace();
    return readOn();
}

std::expected<std::string, JsonPieces::Fault> JsonPieces::readAll(std::size_t limit) {
    std::string bytes(buffer.data() + position, filled - position);
    mark = position = filled;
    while (refill()) {
        bytes.append(buffer.data(), filled);
        mark = position = filled;
        if (bytes.size() > limit) return std::unexpected(Fault::tooLong);
    }
    if (fault == Fault::unreadable) return std::unexpected(fault);
    return bytes;
}

JsonPieces::Fault JsonPieces::readText(Handler& handler) {
    mark = position;
    if (!skipWhiteSpace()) return fault == Fault::cut ? Fault::end : fault;
    const char first = buffer[position];
    if (first != '{' && first != '[') return Fault::malformed;
    ++position;
    if (first == '[') handler.beginArray("");
    return (first == '[' ? readElements(handler) : readMembers(handler)) ? Fault::none : fault;
}

bool JsonPieces::skipComma() {
    if (buffer[position] != ',') return fail(Fault::malformed);
    mark = ++position;
    return skipWhiteSpace();
}

bool JsonPieces::readMembers(Handler& handler) {
    for (bool isFirst = true; skipWhiteSpace(); isFirst = false) {
        if (buffer[position] == '}') {
            ++position;
            return true;
        }
        if ((!isFirst && !skipComma()) || !readMember(handler)) return false;
    }
    return false;
}

bool JsonPieces::readMember(Handler& handler) {
    if (buffer[position] != '"') return fail(Fault::malformed);
    mark = position;
    if (!skipString()) return false;
    // White space and the colon stay in the buffer with the key.
    const std::size_t keySize = position - mark - 2;
    if (!skipWhiteSpace(true)) return false;
    if (buffer[position] != ':') return fail(Fault::malformed);
    ++position;
    if (!skipWhiteSpace(true)) return false;
    const std::size_t valueOffset = position - mark;
    if (buffer[position] == '[') {
        ++position;
        handler.beginArray(piece().substr(1, keySize));
        return readElements(handler);
    }
    if (!skipValue()) return false;
    handler.addMember(piece().substr(1, keySize), piece().substr(valueOffset));
    return true;
}

bool JsonPieces::readElements(Handler& handler) {
    for (bool isFirst = true; skipWhiteSpace(); isFirst = false) {
        if (buffer[position] == ']') {
            ++position;
            return true;
        }
        if (!isFirst && !skipComma()) return false;
        mark = position;
        if (!skipValue()) return false;
        if (!handler.addElement(piece())) return fail(Fault::malformed);
    }
    return false;
}

bool JsonPieces::skipValue() {
    switch (kindOf(buffer[position])) {
        case Byte::quote:
            return skipString();
        case Byte::open:
            return skipContainer();
        default:
            return skipScalar();
    }
}

bool JsonPieces::skipString() {
    for (++position; hasByte(); ++position) {
        const char byte = buffer[position];
        switch (kindOf(byte)) {
            case Byte::quote:
                ++position;
                return true;
            case Byte::backslash:
                ++position;
                if (!hasByte()) return false;
                break;
            case Byte::space:
            case Byte::control:
                fault = Fault::malformed;
                if (byte != ' ') return false;
                break;
            default:
                break;
        }
    }
    return false;
}

bool JsonPieces::skipContainer() {
    // A bit for each open container, the innermost lowest: whether it is an object.
    std::uint64_t objects = 0;
    for (std::size_t depth = 0; hasByte();) {
        const char byte = buffer[position];
        switch (kindOf(byte)) {
            case Byte::quote:
                if (!skipString()) return false;
                continue;
            case Byte::open:
                fault = Fault::tooDeep;
                if (++depth > maxDepth) return false;
                objects = objects << 1 | (byte == '{' ? 1U : 0U);
                break;
            case Byte::close:
                fault = Fault::malformed;
                if ((objects & 1) != (byte == '}' ? 1U : 0U)) return false;
                objects >>= 1;
                --depth;
                break;
            default:
                break;
        }
        ++position;
        if (depth == 0) return true;
    }
    return false;
}

bool JsonPieces::skipScalar() {
    fault = Fault::malformed;
    if (!std::string_view("-0123456789tfn").contains(buffer[position])) return false;
    while (hasByte() && kindOf(buffer[position]) == Byte::other)
        ++position;
    // No piece ends with the input: a container is open around it.
    return position < filled;
}

void JsonPieces::skipLine() {
    for (mark = position; hasByte(); mark = position) {
        if (buffer[position++] == '\n') return;
    }
}

}  // namespace quorvel
