#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>

#include "api/RecordCoding.h"
#include "platform/HttpSession.h"

namespace quorvel {

/// Stands for an answer whose body did not decode.
struct DecodingContext {
    DecodingError underlying;
    /// `bodyPreview` of the body.
    std::string responsePreview;
};

/// What the catalog answered instead of a result.
struct OrbistoAPIError {
    /// The HTTP status is outside 200 to 299; `body` is the preview of the answer's body.
    struct HttpError {
        int statusCode = 0;
        std::string body;
        /// When the server asks to come back, from the answer's arrival on.
        std::optional<std::chrono::seconds> retryAfter = std::nullopt;
    };
    /// The body is no envelope for the expected data.
    struct DecodingFailed {
        DecodingContext context;
    };
    /// The envelope says that the request did not succeed.
    struct ServerError {
        std::string message;
    };

    std::variant<HttpError, DecodingFailed, ServerError> kind;
};

/// Every way in which a request can end without a result.
using RequestError = std::variant<SessionError, EncodingError, OrbistoAPIError>;

/// The user-facing text of an error.
std::string description(const OrbistoAPIError& error);
std::string description(const RequestError& error);

/// The error's HTTP status and body, when it is one.
const OrbistoAPIError::HttpError* httpError(const RequestError& error);

}  // namespace quorvel
