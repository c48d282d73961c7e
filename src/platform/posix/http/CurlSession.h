#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <curl/curl.h>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

#include "platform/HttpSession.h"

namespace quorvel {

class CurlTransfer;

struct CurlSessionOptions {
    /// A PEM file of certificate authorities trusted beside the system's; none when empty.
    std::filesystem::path moreAuthorities = {};
    /// Bytes of the longest answer that is accepted, after decompression. The answer for a full chunk has a
    /// hundredth of it; the bound keeps a hostile one from holding the program up for a second.
    std::size_t maxAnswer = 16 * 1024 * 1024;
    /// Runs on the session's thread when its last request has ended; may be empty.
    std::function<void()> onIdle = {};
};

/// The HTTPS session, on libcurl. Each request has a connection of its own, so that nothing is ever sent
/// twice; TLS session tickets of earlier ones shorten its handshake. The thread lives only while requests are
/// under way. Proxies are those of the environment variables that libcurl knows. Redirects are not followed.
/// Owned by an entry; must not be destroyed by a completion, which runs on the thread that the destructor
/// waits for.
class CurlSession final : public HttpSession {
public:
    explicit CurlSession(CurlSessionOptions options = {});
    ~CurlSession() override;
    CurlSession(const CurlSession&) = delete;
    CurlSession& operator=(const CurlSession&) = delete;

    void dataTask(HttpRequest request, Completion completion) override;

    /// Waits until every request has ended and its completion has run, for at most `timeout`, so that a
    /// program about to exit does not cut its last request short. True when none is left. Not from a
    /// completion.
    bool finish(std::chrono::milliseconds timeout);

private:
    struct Arrival {
        HttpRequest request;
        Completion completion;
    };
    using Transfers = std::unordered_map<CURL*, std::unique_ptr<CurlTransfer>>;

    void run();
    bool startArrivals(Transfers& transfers);
    void advance(Transfers& transfers);
    void wait(const Transfers& transfers);
    std::unique_ptr<CurlTransfer> remove(CURL* handle, Transfers& transfers);

    const CurlSessionOptions options;
    /// Holds the TLS session tickets; used by one thread at a time.
    const std::unique_ptr<CURLSH, decltype(&curl_share_cleanup)> tickets;
    std::mutex mutex;
    std::condition_variable idle;
    std::vector<Arrival> arrivals;
    bool isStopping = false;
    /// There exactly while the thread has, or will have, something to do.
    std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> multi;
    std::thread worker;
};

}  // namespace quorvel
