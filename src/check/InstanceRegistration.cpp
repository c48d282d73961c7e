#include "check/InstanceRegistration.h"

#include <string>
#include <utility>

#include "check/TrackingEvent.h"
#include "platform/Weakly.h"

namespace quorvel {

RegisterInstanceRequest registrationRequest(const Environment& environment) {
    return {.version = environment.program.shortVersion.value_or("0"), .os = osVersionString(environment)};
}

InstanceRegistration::InstanceRegistration(OrbistoAPIServiceProtocol& api, InstanceStore instanceStore,
                                           FirstRunStore firstRunStore, ErrorLogger errorLogger,
                                           Environment environment)
    : api(api),
      instanceStore(std::move(instanceStore)),
      firstRunStore(std::move(firstRunStore)),
      errorLogger(std::move(errorLogger)),
      environment(std::move(environment)) {}

void InstanceRegistration::prepareInstance(Task continuation) {
    if (instanceStore.load()) {
        continuation();
        return;
    }
    api.registerInstance(
        registrationRequest(environment),
        weakly(shared_from_this(), [continuation = std::move(continuation)](InstanceRegistration& self,
                                                                            const auto& answer) mutable {
            self.completeRegistration(answer);
            continuation();
        }));
}

void InstanceRegistration::completeRegistration(
    const std::expected<std::int64_t, RequestError>& answer) const {
    if (!answer) {
        errorLogger.log("registerInstance failed: " + description(answer.error()));
        return;
    }
    instanceStore.save(*answer);
    errorLogger.log("Registered instance: " + std::to_string(*answer));
    api.sendInstallEvent([](const auto&) {});
    sendTrackingEvent(api, environment, *answer, "first_install");
    firstRunStore.markFirstRun();
}

void InstanceRegistration::trackInstanceRunning(std::string_view trigger, std::size_t appCount,
                                                std::size_t updateCount) const {
    const auto instanceId = instanceStore.load();
    if (!instanceId) return;
    sendTrackingEvent(api, environment, *instanceId,
                      "instance_running trigger=" + std::string(trigger) +
                          " apps=" + std::to_string(appCount) + " updates=" + std::to_string(updateCount));
}

}  // namespace quorvel
