#include "platform/posix/http/SessionFixture.h"

#include <arpa/inet.h>
#include <array>
#include <future>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

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

HttpOutcome exchange(HttpSession& session, HttpRequest request) {
    // Shared with the completion, which may come after this function has given up on it.
    const auto promise = std::make_shared<std::promise<HttpOutcome>>();
    auto outcome = promise->get_future();
    session.dataTask(std::move(request),
                     [promise](HttpOutcome result) { promise->set_value(std::move(result)); });
    if (outcome.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
        throw std::runtime_error("the request did not end");
    }
    return outcome.get();
}

RefusingPort::RefusingPort() : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket, general, length) != 0 || getsockname(socket, general, &length) != 0) {
        throw std::runtime_error("no port on loopback");
    }
    number = ntohs(address.sin_port);
}

RefusingPort::~RefusingPort() {
    close(socket);
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

}  // namespace quorvel
