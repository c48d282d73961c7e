#include "cli/CatalogFailure.h"

#include <chrono>
#include <optional>

#include "cli/Table.h"
#include "platform/ProgramInfo.h"
#include "platform/posix/http/CatalogAddress.h"

namespace quorvel {

namespace {

std::string duration(std::chrono::seconds time) {
    constexpr std::chrono::seconds inSeconds{120};
    const auto minutes = std::chrono::ceil<std::chrono::minutes>(time);
    return time <= inSeconds ? counted(static_cast<std::size_t>(time.count()), "second")
                             : counted(static_cast<std::size_t>(minutes.count()), "minute");
}

/// The one refusal that says what to do: its body, often another program's document, would only hide that.
std::optional<std::string> tooManyRequests(const RequestError& error) {
    constexpr int status = 429;
    const auto* http = httpError(error);
    if (http == nullptr || http->statusCode != status) return std::nullopt;
    return "The catalog asks for fewer requests (HTTP 429): try again " +
           (http->retryAfter ? "in " + duration(*http->retryAfter) : std::string("later")) + ".";
}

ExitStatus statusOf(const RequestError& error) {
    using Code = SessionError::Code;
    if (std::holds_alternative<EncodingError>(error)) return ExitStatus::unexpected;
    const auto* session = std::get_if<SessionError>(&error);
    if (session == nullptr || session->code == Code::badServerResponse ||
        session->code == Code::dataLengthExceedsMaximum)
        return ExitStatus::refused;
    return session->code == Code::badURL ? ExitStatus::unexpected : ExitStatus::notReached;
}

}  // namespace

CatalogFailure catalogFailure(const RequestError& error) {
    return {tooManyRequests(error).value_or(description(error)), statusOf(error)};
}

CatalogFailure catalogFailure(const UpdateCheckError& error) {
    const auto* failed = std::get_if<UpdateCheckError::ApiFailed>(&error.kind);
    if (failed == nullptr) {
        const bool isOffline = std::holds_alternative<UpdateCheckError::NoInternet>(error.kind);
        return {description(error), isOffline ? ExitStatus::notReached : ExitStatus::refused};
    }
    auto failure = catalogFailure(failed->underlying);
    if (!tooManyRequests(failed->underlying)) failure.sentence = description(error);
    return failure;
}

std::string adviceOn(const CatalogFailure& failure, const std::string& catalog) {
    if (failure.status != ExitStatus::notReached || !isReservedForExamples(catalog)) return "";
    return (catalog == catalogURL ? "This program was built without the address of a catalog: " : "") +
           catalog +
           " is a reserved name that nobody answers. Give another with --catalog URL, or in "
           "QUORVEL_CATALOG_URL.";
}

ExitStatus sayFailure(const CatalogFailure& failure, const std::string& catalog) {
    console::say(failure.sentence);
    if (const auto advice = adviceOn(failure, catalog); !advice.empty()) console::say(advice);
    return failure.status;
}

}  // namespace quorvel
