#include "platform/posix/http/SessionFixture.h"

#include <array>
#include <memory>
#include <stdexcept>

namespace quorvel {

namespace {

/// The machine's own proxies and authorities have no say in a test.
const bool environmentIsClean = [] {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy",
                             "NO_PROXY", "SSL_CERT_FILE", "SSL_CERT_DIR"}) {
        unsetenv(name);
    }
    return true;
}();

constexpr std::array<const char*, 9> codeNames{
    "badURL",         "cannotFindHost", "cannotConnect",     "secureConnectionFailed",
    "connectionLost", "timedOut",       "badServerResponse", "dataLengthExceedsMaximum",
    "unknown"};

}  // namespace

HttpRequest post(std::string url, std::string body) {
    HttpRequest request;
    request.url = std::move(url);
    request.method = "POST";
    request.body = std::move(body);
    return request;
}

std::string text(const HttpOutcome& outcome) {
    std::string line = outcome.statusCode ? std::to_string(*outcome.statusCode) + " " : "";
    if (outcome.data) line += *outcome.data;
    if (outcome.error) {
        line += std::string(codeNames.at(static_cast<std::size_t>(outcome.error->code))) + ": " +
                outcome.error->description;
    }
    return line;
}

std::string exchange(CurlSession& session, HttpRequest request) {
    // Shared with the completion, which may come after this function has given up on it.
    const auto line = std::make_shared<std::string>();
    session.dataTask(std::move(request), [line](const HttpOutcome& outcome) { *line = text(outcome); });
    if (!session.finish(std::chrono::seconds(30))) throw std::runtime_error("the request did not end");
    return *line;
}

std::string withHost(std::string text, const std::string& host) {
    const auto place = text.find("HOST");
    return place == std::string::npos ? text : text.replace(place, 4, host);
}

}  // namespace quorvel
