#pragma once

#include <string>
#include <utility>
#include <vector>

namespace quorvel {

/// One request as the catalog sees it. `path` is decoded and without the query.
struct CatalogRequest {
    std::string method;
    std::string path;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
};

/// How an answer goes out on the wire.
enum class Delivery { whole, late, stalled, cut, oversized };

/// One answer. `kind` is what the request turned out to be: a scenario bends only what it is about, so that a
/// request that breaks the rules is refused in every scenario.
struct CatalogAnswer {
    enum class Kind { refusal, matches, registration, event };

    Kind kind = Kind::refusal;
    int status = 200;
    std::string body;
    std::string contentType = "application/json";
    Delivery delivery = Delivery::whole;
    /// Seconds, sent as Retry-After unless 0.
    int retryAfter = 0;
};

}  // namespace quorvel
