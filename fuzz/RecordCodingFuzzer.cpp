#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "api/RecordCoding.h"

namespace {

using namespace quorvel;
using fuzz::require;
using fuzz::requireText;

void check(const AutoMatchData& matches) {
    for (const auto& [match] : matches) {
        if (!match) continue;
        requireText(match->title + match->version + match->minimumOSVersion.value_or(""));
        for (const auto& identifier : match->bundleIdentifiers)
            requireText(identifier);
        require(!match->lacksIdentifiers || match->bundleIdentifiers.empty(),
                "a list that could not be read is empty");
    }
}

void check(const auto&) {}

/// Whether the answer is read.
template <typename Data>
bool checkAnswer(std::string_view bytes) {
    const auto response = decodeResponse<Data>(bytes);
    if (response && response->error) requireText(response->error->message);
    if (response && response->data) check(*response->data);
    if (response) return true;
    require(!response.error().description.empty(), "a refusal says why");
    requireText(response.error().description);
    return false;
}

/// A request can be written exactly when its texts are valid, and then it is JSON.
void checkRequest(std::string_view bytes) {
    const auto comment = std::string(bytes);
    const auto request = encode(TrackingRequest{7, "a", "b", "c", comment});
    require(request.has_value() == text::isValidUtf8(comment), "valid texts can be written");
    if (request)
        require(nlohmann::json::parse(*request)["backtrace"] == comment, "a request says what it was given");
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
    checkRequest(bytes);
    return 0;
}
