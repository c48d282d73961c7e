#pragma once

#include <chrono>
#include <curl/curl.h>
#include <string>
#include <string_view>

#include "platform/HttpSession.h"
#include "platform/posix/http/TlsPolicy.h"

namespace quorvel {

/// What is known of a request that failed below HTTP.
struct CurlFailure {
    CURLcode code = CURLE_OK;
    /// Host of the request, with the port when the URL gives one.
    std::string_view host;
    /// The proxy the environment names for the request's scheme, in the same form; empty without one.
    std::string_view proxy;
    std::chrono::milliseconds idleTimeout{};
    /// errno of the last connection that failed; zero when there was none.
    long systemError = 0;
    /// Status with which a proxy answered CONNECT; zero when there was no answer.
    long proxyStatus = 0;
    /// libcurl's own words.
    std::string_view detail;
    const TlsVerdict& tls;
};

/// The session's error for `failure`: its code, and one sentence that names the host or the proxy at fault.
SessionError describe(const CurlFailure& failure);

SessionError connectionLost(std::string_view host);
SessionError timedOut(std::string_view host, std::chrono::milliseconds idleTimeout);

/// The proxy that libcurl takes from the environment for `scheme`: host, and port when given, never its
/// credentials. Empty when there is none.
std::string proxyFromEnvironment(const std::string& scheme);

}  // namespace quorvel
