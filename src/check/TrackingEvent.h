#pragma once

#include <cstdint>
#include <string_view>

#include "api/Environment.h"
#include "api/OrbistoAPIServiceProtocol.h"

namespace quorvel {

/// Sends one event of the instance's life and never looks at the outcome. Main thread.
void sendTrackingEvent(OrbistoAPIServiceProtocol& api, const Environment& environment,
                       std::int64_t instanceId, std::string_view message);

}  // namespace quorvel
