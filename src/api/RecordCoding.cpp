#include "api/RecordCoding.h"

#include <cstddef>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/JsonInteger.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

using Json = nlohmann::json;

std::expected<std::string, EncodingError> encodeValue(const nlohmann::ordered_json& value) {
    try {
        return value.dump();
    } catch (const nlohmann::json::exception&) {
        return std::unexpected(EncodingError{"The request holds a text that is not valid UTF-8."});
    }
}

template <typename Value>
using Decoded = std::expected<Value, DecodingError>;

std::unexpected<DecodingError> missing(std::string_view member, std::string_view expectedType) {
    return std::unexpected(DecodingError{"The member \"" + std::string(member) + "\" is missing or is not " +
                                         std::string(expectedType) + "."});
}

/// The member's value; null pointer when it is absent or null.
const Json* find(const Json& object, const char* member) {
    const auto found = object.find(member);
    return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::optional<std::string> text(const Json& object, const char* member) {
    const Json* value = find(object, member);
    if (value == nullptr || !value->is_string()) return std::nullopt;
    return value->get_ref<const std::string&>();
}

std::optional<std::int64_t> integer(const Json& object, const char* member) {
    const Json* value = find(object, member);
    return value == nullptr ? std::nullopt : integerValue(*value);
}

/// Empty when the member is absent; none when it is no list or any of its elements is not a text.
std::optional<std::vector<std::string>> textList(const Json& object, const char* member) {
    const Json* list = find(object, member);
    std::vector<std::string> texts;
    if (list == nullptr) return texts;
    if (!list->is_array()) return std::nullopt;
    texts.reserve(list->size());
    for (const Json& element : *list) {
        if (!element.is_string()) return std::nullopt;
        texts.push_back(element.get_ref<const std::string&>());
    }
    return texts;
}

std::optional<std::string> minimumOS(const Json& entry) {
    const Json* requirements = find(entry, "requirements");
    if (requirements == nullptr || !requirements->is_object()) return std::nullopt;
    return text(*requirements, "minimum_os");
}

std::optional<AutoMatchResult> decodeAutoMatchResult(const Json& entry) {
    if (!entry.is_object()) return std::nullopt;
    const auto id = integer(entry, "id");
    auto title = text(entry, "title");
    if (!id || !title) return std::nullopt;
    auto identifiers = textList(entry, "bundle_identifiers");
    const bool lacksIdentifiers = !identifiers;
    return AutoMatchResult{.id = *id,
                           .title = std::move(*title),
                           .version = text(entry, "version").value_or(""),
                           .bundleIdentifiers = std::move(identifiers).value_or(std::vector<std::string>()),
                           .minimumOSVersion = minimumOS(entry),
                           .lacksIdentifiers = lacksIdentifiers};
}

Decoded<AutoMatchData> decodeData(const Json& value, std::type_identity<AutoMatchData>) {
    if (!value.is_array()) return missing("data", "a list");
    AutoMatchData list;
    list.reserve(value.size());
    for (const Json& element : value)
        list.push_back({decodeAutoMatchResult(element)});
    return list;
}

Decoded<InstanceData> decodeData(const Json& value, std::type_identity<InstanceData>) {
    if (!value.is_object()) return missing("data", "an object");
    const auto id = integer(value, "id");
    if (!id) return missing("id", "a 64-bit integer");
    return InstanceData{*id};
}

Decoded<NoData> decodeData(const Json&, std::type_identity<NoData>) {
    return NoData{};
}

template <typename Data>
Decoded<APIResponse<Data>> decodeEnvelope(const Json& envelope) {
    if (!envelope.is_object()) return std::unexpected(DecodingError{"The answer is not a JSON object."});
    const Json* success = find(envelope, "success");
    if (success == nullptr || !success->is_boolean()) return missing("success", "a boolean");

    APIResponse<Data> response;
    response.success = success->get<bool>();
    if (const Json* error = find(envelope, "error")) {
        auto message = error->is_object() ? text(*error, "message") : std::nullopt;
        if (!message) return missing("error.message", "a text");
        response.error = {std::move(*message)};
    }
    if (const Json* data = find(envelope, "data")) {
        auto decoded = decodeData(*data, std::type_identity<Data>{});
        if (!decoded) return std::unexpected(decoded.error());
        response.data = std::move(*decoded);
    }
    return response;
}

}  // namespace

std::expected<std::string, EncodingError> encode(const AutoMatchRequest& request) {
    return encodeValue(
        {{"secret", request.secret}, {"titles", request.titles}, {"bundle_ids", request.bundleIds}});
}

std::expected<std::string, EncodingError> encode(const RegisterInstanceRequest& request) {
    return encodeValue({{"version", request.version}, {"os", request.os}});
}

std::expected<std::string, EncodingError> encode(const TrackingRequest& request) {
    nlohmann::ordered_json value{{"instance_id", request.instanceId},
                                 {"source", request.source},
                                 {"status", request.status},
                                 {"message", request.message}};
    if (request.backtrace) value["backtrace"] = *request.backtrace;
    return encodeValue(value);
}

template <typename Data>
std::expected<APIResponse<Data>, DecodingError> decodeResponse(std::string_view bytes) {
    try {
        return decodeEnvelope<Data>(Json::parse(bytes));
    } catch (const Json::parse_error& error) {
        return std::unexpected(DecodingError{"The answer is not valid JSON (at byte " +
                                             std::to_string(error.byte) + " of " +
                                             std::to_string(bytes.size()) + ")."});
    } catch (const Json::exception&) {
        // A number beyond the range of a double is the one value that is well-formed and cannot be held.
        return std::unexpected(DecodingError{"The answer holds a number that is out of range."});
    }
}

template std::expected<APIResponse<AutoMatchData>, DecodingError> decodeResponse(std::string_view bytes);
template std::expected<APIResponse<InstanceData>, DecodingError> decodeResponse(std::string_view bytes);
template std::expected<APIResponse<NoData>, DecodingError> decodeResponse(std::string_view bytes);

std::string bodyPreview(std::string_view body) {
    constexpr std::size_t previewLength = 500;
    const auto preview = body.substr(0, previewLength);
    return text::isValidUtf8(preview) ? std::string(preview) : "<non-utf8>";
}

}  // namespace quorvel
