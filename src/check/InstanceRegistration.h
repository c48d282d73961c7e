#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <memory>
#include <string_view>

#include "api/Environment.h"
#include "api/OrbistoAPIServiceProtocol.h"
#include "persistence/ErrorLogger.h"
#include "persistence/FirstRunStore.h"
#include "persistence/InstanceStore.h"
#include "platform/Queue.h"

namespace quorvel {

/// What a registration says of this program; its version is "0" when it has none.
RegisterInstanceRequest registrationRequest(const Environment& environment);

/// Makes this installation known to the catalog, once, and reports its life afterwards. The instance id lives
/// in its store alone; nothing here keeps it. Owned by the update check service, as a shared pointer; main
/// thread.
class InstanceRegistration : public std::enable_shared_from_this<InstanceRegistration> {
public:
    InstanceRegistration(OrbistoAPIServiceProtocol& api, InstanceStore instanceStore,
                         FirstRunStore firstRunStore, ErrorLogger errorLogger, Environment environment);

    /// Registers when no id is stored, then runs `continuation`, once, whether that succeeded or failed. With
    /// a stored id it runs inside this call.
    void prepareInstance(Task continuation);

    /// Sends the event of a successful check; nothing when no id is stored.
    void trackInstanceRunning(std::string_view trigger, std::size_t appCount, std::size_t updateCount) const;

private:
    void completeRegistration(const std::expected<std::int64_t, RequestError>& answer) const;

    OrbistoAPIServiceProtocol& api;
    const InstanceStore instanceStore;
    const FirstRunStore firstRunStore;
    const ErrorLogger errorLogger;
    const Environment environment;
};

}  // namespace quorvel
