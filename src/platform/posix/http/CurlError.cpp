#include "platform/posix/http/CurlError.h"

#include <array>
#include <cctype>
#include <cstdlib>
#include <system_error>

#include "platform/posix/http/CurlUrl.h"

namespace quorvel {

namespace {

using Code = SessionError::Code;

std::string seconds(std::chrono::milliseconds duration) {
    const auto count = std::chrono::ceil<std::chrono::seconds>(duration).count();
    return std::to_string(count) + (count == 1 ? " second" : " seconds");
}

/// The system's words for an errno, to stand inside a sentence.
std::string systemReason(long error) {
    std::string text = std::generic_category().message(static_cast<int>(error));
    text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
    return text;
}

/// libcurl names the host that a connection was tried to, which is the proxy's when one is in use.
bool failedAtProxy(const CurlFailure& failure) {
    if (failure.proxy.empty()) return false;
    const std::string_view name = failure.proxy.substr(0, failure.proxy.rfind(':'));
    return failure.detail.starts_with("Failed to connect to " + std::string(name) + " port ");
}

SessionError cannotConnect(const CurlFailure& failure) {
    const bool atProxy = failedAtProxy(failure);
    std::string text = "Could not connect to " +
                       (atProxy ? "the proxy " + std::string(failure.proxy) : std::string(failure.host));
    if (failure.systemError != 0) text += ": " + systemReason(failure.systemError);
    return {Code::cannotConnect, text + "."};
}

SessionError refusedByProxy(const CurlFailure& failure) {
    return {Code::cannotConnect, "The proxy " + std::string(failure.proxy) + " answered HTTP " +
                                     std::to_string(failure.proxyStatus) + " when asked to connect to " +
                                     std::string(failure.host) + "."};
}

/// What a failed handshake comes down to, in this order of usefulness.
std::string tlsReason(const CurlFailure& failure) {
    if (!failure.tls.reason.empty()) return failure.tls.reason;
    if (failure.code == CURLE_PEER_FAILED_VERIFICATION) return "the certificate is for another host";
    // OpenSSL writes "error:0A00010B:SSL routines::wrong version number".
    const auto last = failure.detail.rfind("::");
    if (last != std::string_view::npos) return std::string(failure.detail.substr(last + 2));
    if (failure.code == CURLE_SSL_CACERT_BADFILE) return "the file of certificate authorities cannot be read";
    return "the server ended the handshake";
}

SessionError notSecure(const CurlFailure& failure) {
    std::string text =
        "Could not make a secure connection to " + std::string(failure.host) + ": " + tlsReason(failure);
    if (failure.code == CURLE_PEER_FAILED_VERIFICATION && !failure.tls.issuer.empty()) {
        text += " (issued by " + failure.tls.issuer + ")";
    }
    return {Code::secureConnectionFailed, text + "."};
}

SessionError cannotFind(std::string_view what, std::string_view host) {
    return {Code::cannotFindHost, "Could not find the " + std::string(what) + " " + std::string(host) + "."};
}

}  // namespace

SessionError connectionLost(std::string_view host) {
    return {Code::connectionLost,
            "The connection to " + std::string(host) + " was lost before the answer was complete."};
}

SessionError timedOut(std::string_view host, std::chrono::milliseconds idleTimeout) {
    return {Code::timedOut, "The connection to " + std::string(host) + " timed out: nothing arrived for " +
                                seconds(idleTimeout) + "."};
}

SessionError describe(const CurlFailure& failure) {
    switch (failure.code) {
        case CURLE_COULDNT_RESOLVE_HOST:
            return cannotFind("host", failure.host);
        case CURLE_COULDNT_RESOLVE_PROXY:
            return cannotFind("proxy", failure.proxy);
        case CURLE_COULDNT_CONNECT:
        case CURLE_PROXY:
            return cannotConnect(failure);
        case CURLE_OPERATION_TIMEDOUT:
            return timedOut(failure.host, failure.idleTimeout);
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_PEER_FAILED_VERIFICATION:
            return notSecure(failure);
        case CURLE_RECV_ERROR:
        case CURLE_SEND_ERROR:
        case CURLE_SEND_FAIL_REWIND:
        case CURLE_GOT_NOTHING:
        case CURLE_PARTIAL_FILE:
            if (failure.proxyStatus >= 300) return refusedByProxy(failure);
            return connectionLost(failure.host);
        case CURLE_BAD_CONTENT_ENCODING:
            return {Code::badServerResponse,
                    std::string(failure.host) + " sent a compressed answer that cannot be read."};
        case CURLE_UNSUPPORTED_PROTOCOL:  // HTTP/0.9, or a version that nobody has heard of
        case CURLE_WEIRD_SERVER_REPLY:
            return {Code::badServerResponse,
                    std::string(failure.host) + " sent an answer that is not HTTP/1."};
        default:
            return {Code::unknown, "The request to " + std::string(failure.host) +
                                       " failed: " + curl_easy_strerror(failure.code) + "."};
    }
}

std::string proxyFromEnvironment(const std::string& scheme) {
    // http_proxy is read in lower case only: a web server hands the header "Proxy:" to its programs as
    // HTTP_PROXY.
    const std::array<const char*, 4> names{scheme == "https" ? "https_proxy" : "http_proxy",
                                           scheme == "https" ? "HTTPS_PROXY" : "http_proxy", "all_proxy",
                                           "ALL_PROXY"};
    for (const char* name : names) {
        const char* value = std::getenv(name);
        if (value == nullptr || *value == '\0') continue;
        const auto url = parseUrl(value, true);
        return url ? url->host : "";
    }
    return {};
}

}  // namespace quorvel
