#include "platform/posix/http/CurlSession.h"

#include <algorithm>
#include <new>
#include <pthread.h>
#include <signal.h>

#include "platform/posix/http/CurlTransfer.h"

namespace quorvel {

namespace {

/// Only for the calling thread: what the program does with the signal is its own affair.
void blockBrokenPipes() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

CurlSession::CurlSession(CurlSessionOptions how)
    : options(std::move(how)),
      tickets(curl_share_init(), curl_share_cleanup),
      multi(nullptr, curl_multi_cleanup) {
    if (!tickets) throw std::bad_alloc();
    curl_share_setopt(tickets.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
}

CurlSession::~CurlSession() {
    {
        const std::lock_guard lock(mutex);
        isStopping = true;
        if (multi) curl_multi_wakeup(multi.get());
    }
    if (worker.joinable()) worker.join();
}

void CurlSession::dataTask(HttpRequest request, Completion completion) {
    const std::lock_guard lock(mutex);
    arrivals.push_back({std::move(request), std::move(completion)});
    if (multi) {
        curl_multi_wakeup(multi.get());
        return;
    }
    multi.reset(curl_multi_init());
    if (!multi) throw std::bad_alloc();
    if (worker.joinable()) worker.join();  // it ends without the lock
    worker = std::thread([this] { run(); });
}

bool CurlSession::finish(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex);
    return idle.wait_for(lock, timeout, [this] { return !multi; });
}

void CurlSession::run() {
    blockBrokenPipes();
    {
        Transfers transfers;
        while (startArrivals(transfers)) {
            advance(transfers);
            wait(transfers);
        }
        for (const auto& [handle, transfer] : transfers)
            curl_multi_remove_handle(multi.get(), handle);
    }
    if (options.onIdle) options.onIdle();
}

/// False when the thread has nothing more to do.
bool CurlSession::startArrivals(Transfers& transfers) {
    std::vector<Arrival> fresh;
    {
        const std::lock_guard lock(mutex);
        if (isStopping) return false;
        fresh.swap(arrivals);
        if (fresh.empty() && transfers.empty()) {
            multi.reset();
            idle.notify_all();
            return false;
        }
    }
    for (auto& [request, completion] : fresh) {
        auto transfer =
            std::make_unique<CurlTransfer>(std::move(request), std::move(completion), options, tickets.get());
        if (auto error = transfer->prepare()) {
            transfer->end(*std::move(error));
            continue;
        }
        CURL* const handle = transfer->handle();
        curl_multi_add_handle(multi.get(), handle);
        transfers.emplace(handle, std::move(transfer));
    }
    return true;
}

void CurlSession::advance(Transfers& transfers) {
    int running = 0;
    curl_multi_perform(multi.get(), &running);
    int waiting = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi.get(), &waiting)) {
        const CURLcode code = message->data.result;
        remove(message->easy_handle, transfers)->end(code);
    }
    const auto now = CurlTransfer::Clock::now();
    std::vector<CURL*> silent;
    for (const auto& [handle, transfer] : transfers) {
        if (transfer->isSilent(now)) silent.push_back(handle);
    }
    for (CURL* handle : silent)
        remove(handle, transfers)->endTimedOut();
}

void CurlSession::wait(const Transfers& transfers) {
    if (transfers.empty()) return;
    using std::chrono::milliseconds;
    auto until = CurlTransfer::Clock::time_point::max();
    for (const auto& [handle, transfer] : transfers)
        until = std::min(until, transfer->deadline());
    const auto rest = std::chrono::ceil<milliseconds>(until - CurlTransfer::Clock::now());
    const auto bounded = std::clamp(rest, milliseconds(0), milliseconds(std::chrono::hours(24)));
    curl_multi_poll(multi.get(), nullptr, 0, static_cast<int>(bounded.count()), nullptr);
}

std::unique_ptr<CurlTransfer> CurlSession::remove(CURL* handle, Transfers& transfers) {
    curl_multi_remove_handle(multi.get(), handle);
    return std::move(transfers.extract(handle).mapped());
}

}  // namespace quorvel
