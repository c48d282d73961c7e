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
#include "platform/linux/ContentDecoder.h"
#include "platform/linux/CurlSession.h"
#include "platform/linux/SocketTable.h"
#include "platform/linux/TlsPolicy.h"

namespace quorvel {

/// One request under way and the answer that comes in. Lives on the session's thread.
class CurlTransfer {
public:
    using Clock = std::chrono::steady_clock;

    CurlTransfer(HttpRequest request, HttpSession::Completion completion, const CurlSessionOptions& options,
                 SocketTable& sockets);
    ~CurlTransfer();
    CurlTransfer(const CurlTransfer&) = delete;
    CurlTransfer& operator=(const CurlTransfer&) = delete;

    /// Makes the handle ready to be run; an error when the request cannot be sent at all.
    std::optional<SessionError> prepare();
    CURL* handle() const { return easy.get(); }

    /// Notes what has moved, and tells whether nothing did for longer than the request allows.
    bool hasStalled(Clock::time_point now);
    Clock::time_point deadline() const { return lastMove + request.idleTimeout; }

    /// The two ends; each runs the completion.
    void end(CURLcode code);
    void end(SessionError error);
    void endStalled();

private:
    /// Why a callback of this class stopped the transfer.
    enum class Fault { none, longHead, longAnswer, unknownCoding, damagedCoding };

    std::optional<SessionError> readUrl();
    std::optional<SessionError> composeHeaders();
    void addHeader(const std::string& line);
    bool hasHeader(std::string_view name) const;
    void setLimits();
    void setMethod();
    void setCallbacks();

    std::size_t takeHeadLine(std::string_view line);
    void takeHeadEnd();
    std::size_t takeBody(std::string_view piece);
    bool keep(std::string_view decoded);
    bool beginRequest(int localPort, std::string_view peer);

    std::optional<SessionError> errorFor(CURLcode code) const;
    SessionError faultError(Fault what) const;

    static std::size_t onHeader(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t onBody(char* bytes, std::size_t size, std::size_t count, void* self);
    static curl_socket_t onOpen(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int onClose(void* sockets, curl_socket_t socket);
    static int onRequest(void* self, char* peer, char* local, int peerPort, int localPort);

    HttpRequest request;
    HttpSession::Completion completion;
    const CurlSessionOptions& options;
    SocketTable& sockets;
    std::unique_ptr<CURL, decltype(&curl_easy_cleanup)> easy;
    std::unique_ptr<curl_slist, decltype(&curl_slist_free_all)> headers;
    std::array<char, CURL_ERROR_SIZE> detail{};
    TlsPolicy tls;

    std::string host;
    std::string scheme;
    WireActivity wire;
    std::uint64_t bytesAtLastMove = 0;
    Clock::time_point lastMove;
    int timesBegun = 0;

    std::size_t headBytes = 0;
    std::string coding;
    std::optional<int> statusCode;
    std::unique_ptr<ContentDecoder> decoder;
    std::string body;
    Fault fault = Fault::none;
};

}  // namespace quorvel
