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

template <typename Decode>
void check(std::string_view line, Decode decode) {
    const auto message = decode(line);
    if (!message) return;
    const std::string encoded = encode(*message);
    fuzz::requireText(encoded);
    require(!encoded.contains('\n'), "a message is one line");
    require(Json::parse(line) == Json::parse(encoded), "a message is encoded as it came");
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
