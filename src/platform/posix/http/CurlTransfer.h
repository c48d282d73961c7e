#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/HttpSession.h"
#include "platform/posix/http/CurlSession.h"
#include "platform/posix/http/TlsPolicy.h"

namespace quorvel {

/// One request under way and the answer that comes in. Lives on the session's thread.
class CurlTransfer {
public:
    using Clock = std::chrono::steady_clock;

    /// `tickets` shares TLS sessions with other transfers and outlives this one, as `options` do.
    CurlTransfer(HttpRequest request, HttpSession::Completion completion, const CurlSessionOptions& options,
                 CURLSH* tickets);
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    /// Makes the handle ready to be run; an error when the request cannot be sent at all.
    std::optional<SessionError> prepare();
    CURL* handle() const { return easy.get(); }

    /// Notes whether anything has moved since the last call, and tells whether nothing did for as long as the
    /// request allows. Exact when it is called as soon as libcurl has moved something.
    bool isSilent(Clock::time_point now);
    Clock::time_point deadline() const { return lastMove + request.idleTimeout; }

    /// The three ends; each runs the completion.
    void end(CURLcode code);
    void end(SessionError error);
    void endTimedOut();

private:
    /// Why a callback of this class stopped the transfer.
    enum class Fault { none, longHead, longAnswer };

    std::optional<SessionError> readUrl();
    void composeHeaders();
    void addHeader(const std::string& line);
    void setLimits();
    void setMethod();
    void setCallbacks();

    curl_off_t bytesMoved() const;
    std::size_t handleHeadLine(std::string_view line);
    std::size_t handleBody(std::string_view decoded);

    std::optional<SessionError> errorFor(CURLcode code) const;
    SessionError faultError(Fault what) const;

    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self);

    HttpRequest request;
    HttpSession::Completion completion;
    const CurlSessionOptions& options;
    CURLSH* const tickets;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers;
    std::array<char, CURL_ERROR_SIZE> detail{};
    TlsPolicy tls;

    std::string host;
    std::string scheme;
    curl_off_t bytesAtLastMove = 0;
    Clock::time_point lastMove;

    std::size_t headBytes = 0;
    std::optional<int> statusCode;
    std::string body;
    Fault fault = Fault::none;
};

}  // namespace quorvel
