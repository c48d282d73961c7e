#include "Scenario.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <utility>

namespace quorvel {

namespace {

using Json = nlohmann::ordered_json;
using Name = Scenario::Name;

constexpr std::array<Scenario::Description, 11> descriptions{{
    {Name::slow, "slow", "auto-match answers come after a pause (--pause-ms)"},
    {Name::stalled, "stalled", "auto-match sends the head, half of the body, then nothing"},
    {Name::failingChunks, "failing-chunks", "every second auto-match request gets a 500"},
    {Name::blocked, "blocked", "auto-match gets a 403 that says the network is blocked"},
    {Name::rateLimited, "rate-limited", "auto-match gets a 429 with Retry-After: 300"},
    {Name::noApps, "no-apps", "auto-match gets a 404: no apps were found"},
    {Name::html, "html", "auto-match gets a web page with status 200"},
    {Name::cut, "cut", "auto-match answers end before their Content-Length does"},
    {Name::malformedEntries, "malformed-entries", "every second entry lacks its title or has a text as id"},
    {Name::veryLarge, "very-large", "auto-match answers exceed 64 MiB"},
    {Name::unregistered, "unregistered", "registration is refused with \"Rate limited\""},
}};

std::string refusalBody(std::string_view message) {
    return Json{{"success", false}, {"error", {{"message", message}}}}.dump();
}

constexpr std::string_view page =
    "<!DOCTYPE html>\n<html><head><title>Sign in to this network</title></head>\n"
    "<body><h1>Welcome</h1><p>Accept the terms to go on line.</p></body></html>\n";

/// Entries 2, 4, 6 ... of the list are spoilt, by turns in the two ways.
std::string withMalformedEntries(const std::string& body) {
    Json document = Json::parse(body);
    Json& data = document["data"];
    for (std::size_t index = 1; index < data.size(); index += 2) {
        if (index % 4 == 1)
            data[index].erase("title");
        else
            data[index]["id"] = data[index]["id"].dump();
    }
    return document.dump();
}

/// The filling of an oversized answer goes behind an entry, also where nothing matched.
std::string withAnEntry(const CatalogAnswer& answer) {
    if (answer.status == 200) return answer.body;
    return R"({"success":true,"data":[{"id":900000000,"title":"Filler"}]})";
}

}  // namespace

std::span<const Scenario::Description> Scenario::all() {
    return descriptions;
}

std::optional<Scenario::Name> Scenario::named(std::string_view option) {
    const auto found = std::ranges::find(descriptions, option, &Description::option);
    if (found == descriptions.end()) return std::nullopt;
    return found->name;
}

CatalogAnswer Scenario::bend(CatalogAnswer answer) {
    if (answer.kind == CatalogAnswer::Kind::matches) return bendMatches(std::move(answer));
    if (answer.kind == CatalogAnswer::Kind::registration && name == Name::unregistered)
        answer.body = refusalBody("Rate limited");
    return answer;
}

CatalogAnswer Scenario::bendMatches(CatalogAnswer answer) {
    switch (name) {
        case Name::slow:
            answer.delivery = Delivery::late;
            break;
        case Name::stalled:
            answer.delivery = Delivery::stalled;
            break;
        case Name::cut:
            answer.delivery = Delivery::cut;
            break;
        case Name::blocked:
            return {.status = 403, .body = refusalBody("Blocked: too many requests from here")};
        case Name::rateLimited:
            return {.status = 429, .body = refusalBody("Too many requests"), .retryAfter = 300};
        case Name::noApps:
            return {.status = 404, .body = refusalBody("No apps were found")};
        case Name::html:
            return {.body = std::string(page), .contentType = "text/html; charset=utf-8"};
        case Name::failingChunks:
            if (++chunks % 2 == 0) return {.status = 500, .body = refusalBody("Internal error")};
            break;
        case Name::malformedEntries:
            if (answer.status == 200) answer.body = withMalformedEntries(answer.body);
            break;
        case Name::veryLarge:
            return {.body = withAnEntry(answer), .delivery = Delivery::oversized};
        case Name::none:
        case Name::unregistered:
            break;
    }
    return answer;
}

}  // namespace quorvel
