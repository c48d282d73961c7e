#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <mutex>
#include <thread>

#include "platform/HttpSession.h"

namespace quorvel {

class TransferSet;

struct CurlSessionOptions {
    /// A PEM file of certificate authorities trusted beside the system's; none when empty.
    std::filesystem::path moreAuthorities;
    /// Bytes of the longest answer that is taken, after decompression. The answer for a full chunk has a
    /// hundredth of it; the bound keeps a hostile one from holding the program up for a second.
    std::size_t longestAnswer = 16 * 1024 * 1024;
    /// How long a connection without a request is kept for the next one.
    std::chrono::milliseconds keepAlive{15'000};
};

/// The HTTPS session, on libcurl. Its thread starts with the first request; without one under way it sleeps
/// without a timer, and after `keepAlive` it holds no connection either. Proxies are those of the
/// environment variables that libcurl knows. Redirects are not followed.
/// Owned by an entry; must not be destroyed by a completion, which runs on the thread that the destructor
/// waits for.
class CurlSession final : public HttpSession {
public:
    explicit CurlSession(CurlSessionOptions options = {});
    ~CurlSession() override;
    CurlSession(const CurlSession&) = delete;
    CurlSession& operator=(const CurlSession&) = delete;

    void dataTask(HttpRequest request, Completion completion) override;

    /// Waits until every request has ended and its completion has run, for at most `bound`, so that a program
    /// about to exit does not cut its last request short. True when none is left. Not from a completion.
    bool finish(std::chrono::milliseconds bound);

private:
    struct Arrival {
        HttpRequest request;
        Completion completion;
    };

    void run();
    void serve(TransferSet& set);
    bool takeArrivals(TransferSet& set);
    void countUnderWay(const TransferSet& set);

    const CurlSessionOptions options;
    std::mutex mutex;
    std::condition_variable arrived;
    std::condition_variable ended;
    std::deque<Arrival> arrivals;
    std::size_t underWay = 0;
    bool stopping = false;
    /// The set that the thread works on; null while it sleeps.
    TransferSet* transfers = nullptr;
    std::thread worker;
};

}  // namespace quorvel
