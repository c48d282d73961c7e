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
using Json = nlohmann::json;

template <typename Data>
Json envelopeOf(const APIResponse<Data>& response, Json data) {
    Json envelope{{"success", response.success}, {"data", std::move(data)}};
    if (response.error) envelope["error"] = {{"message", response.error->message}};
    return envelope;
}

Json jsonOf(const FailableDecodable<AutoMatchResult>& entry) {
    if (!entry.value) return nullptr;
    const auto& [id, title, version, bundleIdentifiers, minimumOSVersion, lacksIdentifiers] = *entry.value;
    require(!lacksIdentifiers || bundleIdentifiers.empty(), "a list that could not be read is empty");
    for (const auto& text : bundleIdentifiers)
        requireText(text);
    requireText(title);
    requireText(version);
    requireText(minimumOSVersion.value_or(""));
    Json object{{"id", id}, {"title", title}, {"version", version}};
    object["bundle_identifiers"] = lacksIdentifiers ? Json(0) : Json(bundleIdentifiers);
    if (minimumOSVersion) object["requirements"] = {{"minimum_os", *minimumOSVersion}};
    return object;
}

Json jsonOf(const APIResponse<AutoMatchData>& response) {
    if (!response.data) return envelopeOf(response, nullptr);
    Json list = Json::array();
    for (const auto& entry : *response.data)
        list.push_back(jsonOf(entry));
    return envelopeOf(response, list);
}

Json jsonOf(const APIResponse<InstanceData>& response) {
    return envelopeOf(response, response.data ? Json{{"id", response.data->id}} : Json());
}

Json jsonOf(const APIResponse<NoData>& response) {
    return envelopeOf(response, response.data ? Json(0) : Json());
}

/// Whether the answer is read; what is read can be written as an answer that reads the same.
template <typename Data>
bool checkAnswer(std::string_view bytes) {
    const auto response = decodeResponse<Data>(bytes);
    if (!response) {
        require(!response.error().description.empty(), "a refusal says why");
        requireText(response.error().description);
        return false;
    }
    const Json once = jsonOf(*response);
    const auto again = decodeResponse<Data>(once.dump());
    require(again && jsonOf(*again) == once, "what is read is written so that it reads the same");
    return true;
}

/// A request can be written exactly when its texts are valid, and then says just these.
void checkRequests(std::string_view bytes) {
    std::vector<std::string> texts(4);
    for (auto& text : texts)
        text = fuzz::takeUpTo("|", bytes);
    bool isValid = true;
    for (const auto& text : texts)
        isValid = isValid && text::isValidUtf8(text);

    const auto match = encode(AutoMatchRequest{texts[0], {texts[1], texts[2]}, {"", texts[3]}});
    const auto instance = encode(RegisterInstanceRequest{texts[0] + texts[1], texts[2] + texts[3]});
    const auto tracking = encode(TrackingRequest{7, texts[0], texts[1], texts[2], texts[3]});
    require(match.has_value() == isValid && tracking.has_value() == isValid, "valid texts can be written");
    if (!isValid) return;
    const Json expected{
        {"secret", texts[0]}, {"titles", {texts[1], texts[2]}}, {"bundle_ids", {"", texts[3]}}};
    require(Json::parse(*match) == expected, "a match request says what it was given");
    const Json report = Json::parse(*tracking);
    require(report["backtrace"] == texts[3] && report["instance_id"] == 7, "and so does a report");
    require(Json::parse(*instance)["version"] == texts[0] + texts[1], "and so does a registration");
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
    checkRequests(bytes);
    return 0;
}
