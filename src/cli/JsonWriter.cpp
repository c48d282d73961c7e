#include "cli/JsonWriter.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace quorvel {

namespace {

/// Whether the byte stands in a JSON text as it is.
bool isPlain(char byte) {
    return byte >= ' ' && byte < '\x7f' && byte != '"' && byte != '\\';
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
    if (std::ranges::all_of(characters, isPlain)) {
        separate();
        text.append("\"").append(characters).append("\"");
    } else {
        scalar(nlohmann::json(characters).dump(-1, ' ', isAscii, nlohmann::json::error_handler_t::replace));
    }
}

}  // namespace quorvel
