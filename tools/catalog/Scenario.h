#pragma once

#include <atomic>
#include <optional>
#include <span>
#include <string_view>

#include "Exchange.h"

namespace quorvel {

/// A way in which a catalog goes wrong, so that a client can be seen to cope. Bends the answers to
/// well-formed requests; a request that breaks the rules is refused as ever. Any thread.
class Scenario {
public:
    enum class Name {
        none,
        slow,
        stalled,
        failingChunks,
        blocked,
        rateLimited,
        noApps,
        html,
        cut,
        malformedEntries,
        veryLarge,
        unregistered
    };

    struct Description {
        Name name;
        std::string_view option;
        std::string_view sentence;
    };

    /// All that can be chosen, in the order in which help lists them.
    static std::span<const Description> all();
    static std::optional<Name> named(std::string_view option);

    explicit Scenario(Name chosen) : name(chosen) {}

    /// What is sent instead of `answer`.
    CatalogAnswer bend(CatalogAnswer answer);

private:
    CatalogAnswer bendMatches(CatalogAnswer answer);

    const Name name;
    std::atomic<unsigned> chunks = 0;
};

}  // namespace quorvel
