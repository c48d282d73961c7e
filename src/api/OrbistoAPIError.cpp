#include "api/OrbistoAPIError.h"

namespace quorvel {

namespace {

std::string text(const OrbistoAPIError::HttpError& error) {
    const std::string status = "Server returned HTTP " + std::to_string(error.statusCode);
    return error.body.empty() ? status + "." : status + " — " + error.body + ".";
}

std::string text(const OrbistoAPIError::DecodingFailed& error) {
    return "Response decode failed: " + error.context.underlying.description +
           "\nResponse: " + error.context.responsePreview;
}

std::string text(const OrbistoAPIError::ServerError& error) {
    return error.message;
}

std::string text(const SessionError& error) {
    return error.description;
}

std::string text(const EncodingError& error) {
    return error.description;
}

std::string text(const OrbistoAPIError& error) {
    return description(error);
}

}  // namespace

std::string description(const OrbistoAPIError& error) {
    return std::visit([](const auto& kind) { return text(kind); }, error.kind);
}

std::string description(const RequestError& error) {
    return std::visit([](const auto& kind) { return text(kind); }, error);
}

const OrbistoAPIError::HttpError* httpError(const RequestError& error) {
    const auto* answer = std::get_if<OrbistoAPIError>(&error);
    return answer == nullptr ? nullptr : std::get_if<OrbistoAPIError::HttpError>(&answer->kind);
}

}  // namespace quorvel
