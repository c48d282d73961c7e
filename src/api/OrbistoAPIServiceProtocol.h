#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "api/OrbistoAPIError.h"
#include "api/Records.h"
#include "platform/UniqueFunction.h"

namespace quorvel {

/// What the catalog knows of one chunk of applications.
struct AutoMatchAnswer {
    std::vector<AutoMatchResult> results;
    /// Entries that could not be read, or not be tied to an application for that reason.
    std::size_t lostEntries = 0;
};

/// The catalog's web API. Each operation returns at once; its completion runs later, exactly once, on the
/// main queue.
class OrbistoAPIServiceProtocol {
public:
    template <typename Value>
    using Completion = UniqueFunction<void(std::expected<Value, RequestError>)>;

    virtual ~OrbistoAPIServiceProtocol() = default;

    /// Sends one chunk of installed applications; `titles` and `bundleIds` are of equal length.
    virtual void autoMatch(std::vector<std::string> titles, std::vector<std::string> bundleIds,
                           Completion<AutoMatchAnswer> completion) = 0;

    /// Gives the new instance id.
    virtual void registerInstance(const RegisterInstanceRequest& request,
                                  Completion<std::int64_t> completion) = 0;

    virtual void sendInstallEvent(Completion<void> completion) = 0;

    /// Sends a tracking event to `path`.
    virtual void post(std::string_view path, const TrackingRequest& record,
                      Completion<APIResponse<NoData>> completion) = 0;

    /// `details` follow the environment summary in the report's backtrace.
    virtual void reportError(std::string_view message, std::int64_t instanceId,
                             const std::optional<std::string>& details, Completion<void> completion) = 0;
};

}  // namespace quorvel
