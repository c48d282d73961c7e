#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "platform/posix/http/CurlSession.h"
#include "support/ScopedVariable.h"
#include "support/ScriptedServer.h"

namespace quorvel {

using Then = ScriptedServer::Then;
using Reply = ScriptedServer::Reply;

/// The machine's own proxies and authorities have no say in a test.
inline const bool environmentIsClean = [] {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy",
                             "NO_PROXY", "SSL_CERT_FILE", "SSL_CERT_DIR"})
        unsetenv(name);
    return true;
}();

inline HttpRequest post(std::string url, std::string body = "{}") {
    HttpRequest request;
    request.url = std::move(url);
    request.method = "POST";
    request.body = std::move(body);
    return request;
}

/// "200 {}", "connectionLost: The connection ...", "404 connectionLost: ...": all three parts of an outcome.
inline std::string text(const HttpOutcome& outcome) {
    static constexpr const char* codeNames[]{
        "badURL",         "cannotFindHost", "cannotConnect",     "secureConnectionFailed",
        "connectionLost", "timedOut",       "badServerResponse", "dataLengthExceedsMaximum",
        "unknown"};
    std::string line = outcome.statusCode ? std::to_string(*outcome.statusCode) + " " : "";
    line += outcome.data.value_or("");
    if (const auto& error = outcome.error)
        line += codeNames[static_cast<std::size_t>(error->code)] + (": " + error->description);
    return line;
}

/// Sends `request` and waits for its end; the outcome as text.
inline std::string exchange(CurlSession& session, HttpRequest request) {
    // Shared with the completion, which may come after this function has given up on it.
    const auto line = std::make_shared<std::string>();
    session.dataTask(std::move(request), [line](const HttpOutcome& outcome) { *line = text(outcome); });
    if (!session.finish(std::chrono::seconds(30))) throw std::runtime_error("the request did not end");
    return *line;
}

/// `text` with the server's address in place of HOST.
inline std::string withHost(std::string text, const std::string& host) {
    const auto place = text.find("HOST");
    return place == std::string::npos ? text : text.replace(place, 4, host);
}

}  // namespace quorvel
