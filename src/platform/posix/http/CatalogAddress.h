#pragma once

#include <expected>
#include <optional>
#include <string>

namespace quorvel {

/// The base URL of the catalog to ask: `given` by an option, else QUORVEL_CATALOG_URL of the environment
/// unless it is empty, else the build's own. A sentence refuses an address that cannot be asked.
std::expected<std::string, std::string> catalogAddress(const std::optional<std::string>& given);

/// Whether the address leads to this machine by itself: localhost, 127.0.0.0/8 or ::1.
bool isOnThisMachine(const std::string& url);

/// Whether the address has a name that is reserved for examples (RFC 2606), which nobody answers: a build has
/// one until it is given a catalog.
bool isReservedForExamples(const std::string& url);

}  // namespace quorvel
