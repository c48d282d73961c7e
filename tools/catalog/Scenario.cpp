#include "Scenario.h"

#include <nlohmann/json.hpp>
#include <string>

namespace quorvel {

namespace {

using Json = nlohmann::ordered_json;

std::string refusal(std::string_view message) {
    return Json{{"success", false}, {"error", {{"message", message}}}}.dump();
}

template <Delivery delivery>
CatalogAnswer deliver(CatalogAnswer answer, unsigned) {
    answer.delivery = delivery;
    return answer;
}

CatalogAnswer failEverySecond(CatalogAnswer answer, unsigned number) {
    if (number % 2 == 0) return answer;
    return {.status = 500, .body = refusal("Internal error")};
}

CatalogAnswer sendPage(CatalogAnswer, unsigned) {
    return {.body =
                "<!DOCTYPE html>\n<html><head><title>Sign in to this network</title></head>\n"
                "<body><h1>Welcome</h1><p>Accept the terms to go on line.</p></body></html>\n",
            .contentType = "text/html; charset=utf-8"};
}

/// Entries 2, 4, 6 ... of the list are malformed, by turns in two ways.
CatalogAnswer malformEntries(CatalogAnswer answer, unsigned) {
    if (answer.status != 200) return answer;
    Json document = Json::parse(answer.body);
    Json& data = document["data"];
    for (std::size_t index = 1; index < data.size(); index += 2) {
        if (index % 4 == 1)
            data[index].erase("title");
        else
            data[index]["id"] = data[index]["id"].dump();
    }
    answer.body = document.dump();
    return answer;
}

/// The filling goes behind an entry, also where nothing matched.
CatalogAnswer oversize(CatalogAnswer answer, unsigned) {
    if (answer.status != 200)
        answer = {.body = R"({"success":true,"data":[{"id":900000000,"title":"Filler"}]})"};
    answer.delivery = Delivery::oversized;
    return answer;
}

const Scenario scenarios[] = {
    {"slow", "auto-match answers come after a pause (--pause-ms)", deliver<Delivery::late>},
    {"stalled", "auto-match sends the head, half of the body, then nothing", deliver<Delivery::stalled>},
    {"failing-chunks", "every second auto-match request gets a 500", failEverySecond},
    {"blocked", "auto-match gets a 403 that says the network is blocked",
     [](CatalogAnswer, unsigned) {
         return CatalogAnswer{.status = 403, .body = refusal("Blocked: too many requests from here")};
     }},
    {"rate-limited", "auto-match gets a 429 with Retry-After: 300",
     [](CatalogAnswer, unsigned) {
         return CatalogAnswer{.status = 429, .body = refusal("Too many requests"), .retryAfter = 300};
     }},
    {"no-apps", "auto-match gets a 404: no apps were found",
     [](CatalogAnswer, unsigned) {
         return CatalogAnswer{.status = 404, .body = refusal("No apps were found")};
     }},
    {"html", "auto-match gets a web page with status 200", sendPage},
    {"cut", "auto-match answers end before their Content-Length does", deliver<Delivery::cut>},
    {"malformed-entries", "every second entry lacks its title or has a text as id", malformEntries},
    {"very-large", "auto-match answers exceed 64 MiB", oversize},
    {"unregistered", "registration is refused with \"Rate limited\"",
     [](CatalogAnswer, unsigned) { return CatalogAnswer{.body = refusal("Rate limited")}; },
     CatalogAnswer::Kind::registration},
};

}  // namespace

std::span<const Scenario> Scenario::all() {
    return scenarios;
}

}  // namespace quorvel
