#pragma once

#include <chrono>
#include <curl/curl.h>
#include <memory>
#include <unordered_map>

#include "platform/linux/CurlTransfer.h"

namespace quorvel {

/// The requests under way side by side, and the connections that wait for the next one. Lives on the
/// session's thread; destroyed with requests under way, it drops their completions.
class TransferSet {
public:
    using Clock = CurlTransfer::Clock;

    explicit TransferSet(const CurlSessionOptions& options);
    ~TransferSet();
    TransferSet(const TransferSet&) = delete;
    TransferSet& operator=(const TransferSet&) = delete;

    /// Starts a request. One that cannot be sent ends at once, with its completion.
    void add(HttpRequest request, HttpSession::Completion completion);
    /// Moves what moves without waiting, and runs the completions of the requests that have ended.
    void advance();
    /// Sleeps until a socket stirs, a request may have stalled, `wakeUp` is called, or `until` has come.
    void wait(Clock::time_point until);
    /// Any thread, as long as the set lives.
    void wakeUp();

    std::size_t size() const { return transfers.size(); }

private:
    std::unique_ptr<CurlTransfer> take(CURL* handle);

    const CurlSessionOptions& options;
    SocketTable sockets;  // before the handle that closes the connections into it
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi;
    std::unordered_map<CURL*, std::unique_ptr<CurlTransfer>> transfers;
};

}  // namespace quorvel
