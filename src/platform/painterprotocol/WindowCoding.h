#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "platform/Window.h"

/// Windows as JSON, and strict reading of members, for the source files of the painter's messages.
namespace quorvel::painter {

using Json = nlohmann::json;

/// Says which member of a message is not what it should be. Stays inside the decoder.
struct DecodingFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Each throws a `DecodingFailure` unless `object` is an object whose member is there and of the type.
const Json& member(const Json& object, const char* name);
std::string textMember(const Json& object, const char* name);
std::uint64_t numberMember(const Json& object, const char* name);
const Json& listMember(const Json& object, const char* name);

Json encodeContent(const WindowContent& content);
WindowContent decodeContent(const Json& value);

TableRows decodeRows(const Json& list);

}  // namespace quorvel::painter
