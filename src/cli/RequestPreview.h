#pragma once

#include <span>
#include <string>
#include <string_view>

#include "api/Environment.h"
#include "scanner/InstalledApp.h"

namespace quorvel {

/// The requests that a check of this inventory begins with, as they would go out, the secret masked: the
/// registration when `registers` is set, then one auto-match request a chunk. For each, a line with method
/// and address, then its body.
std::string requestPreview(std::span<const InstalledApp> inventory, bool registers,
                           const Environment& environment, std::string_view catalog);

}  // namespace quorvel
