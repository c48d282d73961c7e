#include "CatalogEndpoints.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <string_view>

namespace quorvel {

namespace {

// Members are sent in the order in which they are written here.
using Json = nlohmann::ordered_json;

constexpr std::string_view jsonClientId = "linkcode48r7vt";
constexpr std::string_view installClientId = "q8t2kzm5ravx7hwe";
constexpr std::string_view autoMatchSecret = "Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E";

/// A request that breaks a rule. The message must never hold the word that clients read as a refusal of their
/// network, nor the one that they read as an empty result.
struct Refusal {
    int status;
    std::string message;
};

std::string envelope(bool success, std::string_view member, Json value) {
    return Json{{"success", success}, {member, std::move(value)}}.dump(-1, ' ', false,
                                                                       Json::error_handler_t::replace);
}

CatalogAnswer refusal(const Refusal& reason) {
    return {.status = reason.status, .body = envelope(false, "error", {{"message", reason.message}})};
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    const auto lower = [](unsigned char c) { return std::tolower(c); };
    return std::ranges::equal(left, right, {}, lower, lower);
}

std::string header(const CatalogRequest& request, std::string_view name) {
    const auto found = std::ranges::find_if(
        request.headers, [&](const auto& one) { return equalIgnoringCase(one.first, name); });
    return found == request.headers.end() ? std::string() : found->second;
}

void requireClient(const CatalogRequest& request, std::string_view clientId) {
    if (header(request, "X-ClientId") != clientId) throw Refusal{403, "Unknown client id"};
}

/// The body of a JSON request, once its credentials and its form are seen to be right.
Json jsonBody(const CatalogRequest& request) {
    requireClient(request, jsonClientId);
    if (header(request, "Content-Type") != "application/json")
        throw Refusal{400, "Content-Type must be application/json"};
    Json body = Json::parse(request.body, nullptr, false);
    if (!body.is_object()) throw Refusal{400, "The body is not a JSON object"};
    return body;
}

std::string requiredText(const Json& body, const char* key) {
    const auto member = body.find(key);
    if (member == body.end() || !member->is_string())
        throw Refusal{400, "\"" + std::string(key) + "\" must be a text"};
    return member->get<std::string>();
}

std::vector<std::string> requiredTexts(const Json& body, const char* key) {
    const auto member = body.find(key);
    if (member == body.end() || !member->is_array() ||
        !std::ranges::all_of(*member, [](const Json& one) { return one.is_string(); }))
        throw Refusal{400, "\"" + std::string(key) + "\" must be a list of texts"};
    return member->get<std::vector<std::string>>();
}

Json toJson(const CatalogEntry& entry) {
    Json object{{"id", entry.id}, {"title", entry.title}};
    if (entry.version) object["version"] = *entry.version;
    object["bundle_identifiers"] = entry.bundleIdentifiers;
    object["requirements"] = Json::object();
    if (entry.minimumOS) object["requirements"]["minimum_os"] = *entry.minimumOS;
    return object;
}

CatalogAnswer accepted(CatalogAnswer::Kind kind, Json data) {
    return {.kind = kind, .body = envelope(true, "data", std::move(data))};
}

}  // namespace

CatalogAnswer CatalogEndpoints::answer(const CatalogRequest& request) {
    try {
        if (request.method != "POST") throw Refusal{405, "The method must be POST"};
        if (request.path == "/v1/apps/auto-match-collection") return autoMatch(request);
        if (request.path == "/v1/qvl/instance") return registerInstance(request);
        if (request.path == "/v1/qvl/tracking") return track(request);
        if (request.path == "/v1/event/app/64734/install") return installEvent(request);
        throw Refusal{404, "No such endpoint"};
    } catch (const Refusal& reason) {
        return refusal(reason);
    }
}

CatalogAnswer CatalogEndpoints::autoMatch(const CatalogRequest& request) const {
    const Json body = jsonBody(request);
    if (requiredText(body, "secret") != autoMatchSecret) throw Refusal{403, "Wrong secret"};
    const auto titles = requiredTexts(body, "titles");
    const auto bundleIdentifiers = requiredTexts(body, "bundle_ids");
    if (titles.size() != bundleIdentifiers.size())
        throw Refusal{400, "\"titles\" and \"bundle_ids\" must be of one length"};
    if (titles.size() > maxChunk)
        throw Refusal{400, "At most " + std::to_string(maxChunk) + " applications in one request"};

    Json data = Json::array();
    for (const CatalogEntry* entry : catalog.match(titles, bundleIdentifiers))
        data.push_back(toJson(*entry));
    if (!data.empty()) return accepted(CatalogAnswer::Kind::matches, std::move(data));
    CatalogAnswer nothing = refusal({404, "No apps were found"});
    nothing.kind = CatalogAnswer::Kind::matches;
    return nothing;
}

CatalogAnswer CatalogEndpoints::registerInstance(const CatalogRequest& request) {
    const Json body = jsonBody(request);
    requiredText(body, "version");
    requiredText(body, "os");
    return accepted(CatalogAnswer::Kind::registration, {{"id", nextInstanceId++}});
}

CatalogAnswer CatalogEndpoints::track(const CatalogRequest& request) const {
    const Json body = jsonBody(request);
    requiredText(body, "message");
    if (requiredText(body, "source") != "instance") throw Refusal{400, "\"source\" must be \"instance\""};
    const std::string status = requiredText(body, "status");
    if (status != "success" && status != "error")
        throw Refusal{400, "\"status\" must be \"success\" or \"error\""};
    if (body.contains("backtrace")) requiredText(body, "backtrace");

    const auto id = body.find("instance_id");
    if (id == body.end() || !id->is_number_integer())
        throw Refusal{400, "\"instance_id\" must be an integer"};
    const auto number = id->get<std::int64_t>();
    if (number < firstInstanceId || number >= nextInstanceId) throw Refusal{200, "Unknown instance id"};
    return accepted(CatalogAnswer::Kind::event, Json::array());
}

CatalogAnswer CatalogEndpoints::installEvent(const CatalogRequest& request) const {
    requireClient(request, installClientId);
    if (!request.body.empty()) throw Refusal{400, "An install event has no body"};
    if (!header(request, "Content-Type").empty()) throw Refusal{400, "An install event has no Content-Type"};
    return accepted(CatalogAnswer::Kind::event, Json::array());
}

}  // namespace quorvel
