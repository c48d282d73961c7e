#pragma once

#include <atomic>
#include <cstdint>

#include "Catalog.h"
#include "Exchange.h"

namespace quorvel {

/// The four endpoints below "/v1" and the rules that a request must keep: a pure function from request to
/// answer, but for the instance ids that it hands out. Any thread.
class CatalogEndpoints {
public:
    static constexpr std::size_t largestChunk = 200;
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
