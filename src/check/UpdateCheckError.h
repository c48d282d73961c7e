#pragma once

#include <cstddef>
#include <string>
#include <variant>

#include "api/OrbistoAPIError.h"

namespace quorvel {

/// Why a check has no result. `scannedCount` is the number of applications that were handed to the check.
struct UpdateCheckError {
    /// No chunk brought a match and at least one failed; `underlying` is the error of the first that did.
    struct ApiFailed {
        RequestError underlying;
        std::size_t scannedCount = 0;
    };
    /// The catalog refuses the user's network.
    struct IpBlocked {
        std::size_t scannedCount = 0;
    };
    struct NoInternet {};

    std::variant<ApiFailed, IpBlocked, NoInternet> kind;
};

/// The user-facing text.
std::string description(const UpdateCheckError& error);

}  // namespace quorvel
