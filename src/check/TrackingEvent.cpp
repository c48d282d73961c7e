#include "check/TrackingEvent.h"

namespace quorvel {

void sendTrackingEvent(OrbistoAPIServiceProtocol& api, const Environment& environment,
                       std::int64_t instanceId, std::string_view message) {
    api.post("/qvl/tracking",
             {.instanceId = instanceId,
              .source = "instance",
              .status = "success",
              .message = std::string(message),
              .backtrace = environmentSummary(environment)},
             [](const auto&) {});
}

}  // namespace quorvel
