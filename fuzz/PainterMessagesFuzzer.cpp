#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "platform/painterprotocol/PainterMessages.h"

namespace {

using namespace quorvel;
using fuzz::require;
using Json = nlohmann::json;

/// Whether `message` says nothing but what `original` says; a decoder may pass over members.
bool saysNoMoreThan(const Json& original, const Json& message) {
    if (message.is_object()) {
        if (!original.is_object()) return false;
        for (const auto& [name, value] : message.items()) {
            if (!original.contains(name) || !saysNoMoreThan(original[name], value)) return false;
        }
        return true;
    }
    if (!message.is_array()) return message == original;
    if (!original.is_array() || original.size() != message.size()) return false;
    for (std::size_t index = 0; index < message.size(); ++index) {
        if (!saysNoMoreThan(original[index], message[index])) return false;
    }
    return true;
}

template <typename Decode>
void check(std::string_view line, Decode decode) {
    const auto message = decode(line);
    if (!message) {
        require(!message.error().empty(), "a refusal says why");
        fuzz::requireText(message.error());
        return;
    }
    const std::string encoded = encode(*message);
    fuzz::requireText(encoded);
    require(!encoded.contains('\n'), "a message is one line");
    require(saysNoMoreThan(Json::parse(line), Json::parse(encoded)), "a message is encoded as it came");
    const auto again = decode(encoded);
    require(again && encode(*again) == encoded, "what was decoded and encoded is decoded to the same");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view line = fuzz::textOf(data, size);
    check(line, painter::decodeRequest);
    check(line, painter::decodeEvent);
    return 0;
}
