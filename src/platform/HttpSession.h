#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "platform/UniqueFunction.h"

namespace quorvel {

struct HttpHeader {
    std::string name;
    std::string value;
};

struct HttpRequest {
    std::string url;
    std::string method;
    /// Sent in this order, and nothing beside them but Host, Accept-Encoding and Content-Length.
    std::vector<HttpHeader> headers;
    std::string body;
    /// How long the connection may be silent: from the start to the first byte sent, and then from the last
    /// byte that moved in either direction.
    std::chrono::milliseconds idleTimeout{60'000};
};

/// What went wrong below HTTP. `description` is one sentence that names the host, for example
/// "Could not connect to api.orbisto.example: connection refused."
struct SessionError {
    enum class Code {
        badURL,
        cannotFindHost,
        cannotConnect,
        secureConnectionFailed,
        connectionLost,
        timedOut,
        badServerResponse,
        dataLengthExceedsMaximum,
        unknown,
    };

    Code code = Code::unknown;
    std::string description;
};

/// How a request ended: as on the platform, any of the three may be missing. `statusCode` is there once a
/// whole response head has arrived, `data` (decompressed, possibly empty) once the whole body has.
struct HttpOutcome {
    std::optional<std::string> data;
    std::optional<int> statusCode;
    std::optional<SessionError> error;
    /// The answer's Retry-After (RFC 9110, 10.2.3), when it is there and lies ahead.
    std::optional<std::chrono::seconds> retryAfter = std::nullopt;
};

/// Sends HTTP requests side by side, each once. Owned by an entry, shared by every client.
class HttpSession {
public:
    using Completion = UniqueFunction<void(HttpOutcome)>;

    virtual ~HttpSession() = default;

    /// Starts `request` and returns at once. `completion` runs exactly once, on the session's own thread,
    /// never inside this call. A session that is destroyed while requests run drops their completions. Any
    /// thread.
    virtual void dataTask(HttpRequest request, Completion completion) = 0;
};

}  // namespace quorvel
