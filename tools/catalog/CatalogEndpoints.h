#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Catalog.h"

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

/// The four endpoints below "/v1" and the rules that a request must keep: a pure function from request to
/// answer, but for the instance ids that it hands out. Any thread.
class CatalogEndpoints {
public:
    static constexpr std::size_t maxChunk = 200;
    static constexpr std::int64_t firstInstanceId = 40001;

    /// `known` must outlive the endpoints.
    explicit CatalogEndpoints(const Catalog& known) : catalog(known) {}

    CatalogAnswer answer(const CatalogRequest& request);

private:
    CatalogAnswer autoMatch(const CatalogRequest& request) const;
    CatalogAnswer registerInstance(const CatalogRequest& request);
    CatalogAnswer track(const CatalogRequest& request) const;
    CatalogAnswer installEvent(const CatalogRequest& request) const;

    const Catalog& catalog;
    std::atomic<std::int64_t> nextInstanceId = firstInstanceId;
};

}  // namespace quorvel
