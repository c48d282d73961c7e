#include "api/OrbistoAPIService.h"

#include <utility>

#include "platform/text/Text.h"

namespace quorvel {

namespace {

constexpr std::string_view autoMatchPath = "/apps/auto-match-collection";
constexpr std::string_view instancePath = "/qvl/instance";
constexpr std::string_view trackingPath = "/qvl/tracking";
constexpr std::string_view installEventPath = "/event/app/64734/install";

/// Every path begins with a slash of its own.
std::string_view withoutTrailingSlash(std::string_view url) {
    if (url.ends_with('/')) url.remove_suffix(1);
    return url;
}

/// The scheme's host, with its port when it names one.
std::string_view hostOf(std::string_view url) {
    const auto scheme = url.find("://");
    if (scheme != std::string_view::npos) url.remove_prefix(scheme + 3);
    return url.substr(0, url.find('/'));
}

std::expected<std::string, RequestError> validateResponse(HttpOutcome outcome, std::string_view url) {
    if (outcome.error) return std::unexpected(std::move(*outcome.error));
    if (!outcome.data || !outcome.statusCode) {
        return std::unexpected(SessionError{SessionError::Code::badServerResponse,
                                            std::string(hostOf(url)) + " gave no valid HTTP answer."});
    }
    if (*outcome.statusCode < 200 || *outcome.statusCode > 299) {
        return std::unexpected(OrbistoAPIError{
            OrbistoAPIError::HttpError{*outcome.statusCode, bodyPreview(*outcome.data), outcome.retryAfter}});
    }
    return std::move(*outcome.data);
}

template <typename Data>
using Response = std::expected<APIResponse<Data>, RequestError>;

template <typename Data>
Response<Data> decode(std::expected<std::string, RequestError> bytes) {
    if (!bytes) return std::unexpected(std::move(bytes.error()));
    auto response = decodeResponse<Data>(*bytes);
    if (response) return std::move(*response);
    return std::unexpected(
        OrbistoAPIError{OrbistoAPIError::DecodingFailed{{std::move(response.error()), bodyPreview(*bytes)}}});
}

template <typename Data>
std::string refusalMessage(const APIResponse<Data>& response) {
    return response.error ? response.error->message : "Unknown error";
}

/// The catalog reports that it knows none of the applications as a failure; for this program it is an empty
/// result.
bool saysNoAppsFound(std::string_view message) {
    return text::lowerCased(message).find("no apps were found") != std::string::npos;
}

std::expected<AutoMatchAnswer, RequestError> autoMatchAnswer(Response<AutoMatchData> response) {
    if (!response) {
        const auto* http = httpError(response.error());
        if (http != nullptr && http->statusCode == 404 && saysNoAppsFound(http->body))
            return AutoMatchAnswer();
        return std::unexpected(std::move(response.error()));
    }
    if (!response->success || !response->data) {
        auto message = refusalMessage(*response);
        if (saysNoAppsFound(message)) return AutoMatchAnswer();
        return std::unexpected(OrbistoAPIError{OrbistoAPIError::ServerError{std::move(message)}});
    }
    AutoMatchAnswer answer;
    answer.results.reserve(response->data->size());
    for (auto& element : *response->data) {
        if (!element.value || element.value->lacksIdentifiers) ++answer.lostEntries;
        if (element.value) answer.results.push_back(std::move(*element.value));
    }
    return answer;
}

std::expected<std::int64_t, RequestError> instanceId(Response<InstanceData> response) {
    if (!response) return std::unexpected(std::move(response.error()));
    if (response->success && response->data) return response->data->id;
    return std::unexpected(OrbistoAPIError{OrbistoAPIError::ServerError{refusalMessage(*response)}});
}

/// For requests whose answer only has to be an envelope, whatever it says.
std::expected<void, RequestError> delivery(Response<NoData> response) {
    if (!response) return std::unexpected(std::move(response.error()));
    return {};
}

Response<NoData> whole(Response<NoData> response) {
    return response;
}

}  // namespace

OrbistoAPIService::OrbistoAPIService(HttpSession& session, Queue& mainQueue, Environment environment,
                                     std::string_view baseURL, std::chrono::milliseconds timeout)
    : session(session),
      mainQueue(mainQueue),
      environment(std::move(environment)),
      baseURL(withoutTrailingSlash(baseURL)),
      timeout(timeout) {}

void OrbistoAPIService::autoMatch(std::vector<std::string> titles, std::vector<std::string> bundleIds,
                                  Completion<AutoMatchAnswer> completion) {
    const AutoMatchRequest request{std::string(autoMatchSecret), std::move(titles), std::move(bundleIds)};
    postBody(autoMatchPath, encode(request), autoMatchAnswer, std::move(completion));
}

void OrbistoAPIService::registerInstance(const RegisterInstanceRequest& request,
                                         Completion<std::int64_t> completion) {
    postBody(instancePath, encode(request), instanceId, std::move(completion));
}

void OrbistoAPIService::sendInstallEvent(Completion<void> completion) {
    HttpRequest install = request(installEventPath);
    install.headers = {{"X-ClientId", std::string(installEventClientId)},
                       {"User-Agent", userAgent(environment)}};
    send(std::move(install), delivery, std::move(completion));
}

void OrbistoAPIService::post(std::string_view path, const TrackingRequest& record,
                             Completion<APIResponse<NoData>> completion) {
    postBody(path, encode(record), whole, std::move(completion));
}

void OrbistoAPIService::reportError(std::string_view message, std::int64_t instanceId,
                                    const std::optional<std::string>& details, Completion<void> completion) {
    const TrackingRequest record{
        .instanceId = instanceId,
        .source = "instance",
        .status = "error",
        .message = std::string(message),
        .backtrace = environmentSummary(environment) + (details ? "\n---\n" + *details : "")};
    postBody(trackingPath, encode(record), delivery, std::move(completion));
}

template <typename Data, typename Value>
void OrbistoAPIService::postBody(std::string_view path, EncodedBody body, Convert<Data, Value> convert,
                                 Completion<Value> completion) {
    if (!body) {
        mainQueue.post([completion = std::move(completion), error = std::move(body.error())]() mutable {
            completion(std::unexpected(RequestError(std::move(error))));
        });
        return;
    }
    HttpRequest json = request(path);
    json.headers = {{"Content-Type", "application/json"},
                    {"X-ClientId", std::string(defaultClientId)},
                    {"User-Agent", userAgent(environment)}};
    json.body = std::move(*body);
    send(std::move(json), convert, std::move(completion));
}

template <typename Data, typename Value>
void OrbistoAPIService::send(HttpRequest request, Convert<Data, Value> convert,
                             Completion<Value> completion) {
    auto url = request.url;
    // Only what the request itself needs is held, so that the client may be gone when the answer comes.
    session.dataTask(std::move(request), [&queue = mainQueue, url = std::move(url), convert,
                                          completion = std::move(completion)](HttpOutcome outcome) mutable {
        queue.post([bytes = validateResponse(std::move(outcome), url), convert,
                    completion = std::move(completion)]() mutable {
            completion(convert(decode<Data>(std::move(bytes))));
        });
    });
}

HttpRequest OrbistoAPIService::request(std::string_view path) const {
    HttpRequest request;
    request.url = baseURL + std::string(path);
    request.method = "POST";
    request.idleTimeout = timeout;
    return request;
}

}  // namespace quorvel
