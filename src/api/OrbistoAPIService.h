#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "api/Environment.h"
#include "api/OrbistoAPIServiceProtocol.h"
#include "platform/HttpSession.h"
#include "platform/Queue.h"

namespace quorvel {

/// Sends requests to the catalog and turns every way in which they can end into a value or a described error.
/// Holds no state between requests; may be destroyed while its requests run. Answers are validated on the
/// session's thread, decoded and delivered on the main queue.
class OrbistoAPIService final : public OrbistoAPIServiceProtocol {
public:
    static constexpr std::string_view defaultClientId = "linkcode48r7vt";
    static constexpr std::string_view installEventClientId = "q8t2kzm5ravx7hwe";
    static constexpr std::string_view autoMatchSecret = "Rk7vQm2XtLp9Wc4NbZs8Hy3JdGf6Ua5E";

    /// The session and the queue outlive the client and its requests. `baseURL` ends in the API's path,
    /// "/v1". `timeout`: how long a request may be silent.
    OrbistoAPIService(HttpSession& session, Queue& mainQueue, Environment environment,
                      std::string_view baseURL = catalogURL,
                      std::chrono::milliseconds timeout = HttpRequest().idleTimeout);

    void autoMatch(std::vector<std::string> titles, std::vector<std::string> bundleIds,
                   Completion<AutoMatchAnswer> completion) override;
    void registerInstance(const RegisterInstanceRequest& request,
                          Completion<std::int64_t> completion) override;
    void sendInstallEvent(Completion<void> completion) override;
    void post(std::string_view path, const TrackingRequest& record,
              Completion<APIResponse<NoData>> completion) override;
    void reportError(std::string_view message, std::int64_t instanceId,
                     const std::optional<std::string>& details, Completion<void> completion) override;

private:
    using EncodedBody = std::expected<std::string, EncodingError>;

    /// Makes of the answer what the caller wants to know.
    template <typename Data, typename Value>
    using Convert = std::expected<Value, RequestError> (*)(std::expected<APIResponse<Data>, RequestError>);

    template <typename Data, typename Value>
    void postBody(std::string_view path, EncodedBody body, Convert<Data, Value> convert,
                  Completion<Value> completion);
    template <typename Data, typename Value>
    void send(HttpRequest request, Convert<Data, Value> convert, Completion<Value> completion);
    HttpRequest request(std::string_view path) const;

    HttpSession& session;
    Queue& mainQueue;
    const Environment environment;
    const std::string baseURL;
    const std::chrono::milliseconds timeout;
};

}  // namespace quorvel
