#pragma once

#include <span>
#include <string_view>

#include "CatalogEndpoints.h"

namespace quorvel {

/// A way in which a catalog goes wrong, so that a client can be seen to cope. Bends the answers to
/// well-formed requests of one kind; a request that breaks the rules is refused as ever.
struct Scenario {
    std::string_view name;
    std::string_view sentence;
    /// What is sent instead of an answer of that kind, the first of which has number 0.
    CatalogAnswer (*bend)(CatalogAnswer answer, unsigned number);
    CatalogAnswer::Kind kind = CatalogAnswer::Kind::matches;

    /// All that can be chosen, in the order in which help lists them.
    static std::span<const Scenario> all();
};

}  // namespace quorvel
