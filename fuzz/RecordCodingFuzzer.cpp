#include <cstdint>
#include <string>
#include <string_view>

#include "FuzzSupport.h"
#include "api/RecordCoding.h"

namespace {

using namespace quorvel;
using fuzz::require;
using fuzz::requireText;

/// Whether the answer is read.
template <typename Data>
bool checkAnswer(std::string_view bytes) {
    const auto response = decodeResponse<Data>(bytes);
    if (response && response->error) requireText(response->error->message);
    if (response) return true;
    require(!response.error().description.empty(), "a refusal says why");
    requireText(response.error().description);
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    const bool isMatch = checkAnswer<AutoMatchData>(bytes);
    const bool isInstance = checkAnswer<InstanceData>(bytes);
    const bool isAny = checkAnswer<NoData>(bytes);
    require(isAny || !(isMatch || isInstance), "an answer that is read with its data is read without");
    const std::string preview = bodyPreview(bytes);
    requireText(preview);
    require(preview == "<non-utf8>" || bytes.substr(0, 500) == preview, "a preview is what begins the body");
    return 0;
}
