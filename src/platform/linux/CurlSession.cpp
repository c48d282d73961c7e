#include "platform/linux/CurlSession.h"

#include <curl/curl.h>
#include <malloc.h>
#include <memory>
#include <pthread.h>
#include <signal.h>

#include "platform/linux/TransferSet.h"

namespace quorvel {

namespace {

/// Only for the calling thread: what the program does with the signal is its own affair.
void ignoreBrokenPipes() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

CurlSession::CurlSession(CurlSessionOptions how) : options(std::move(how)) {}

CurlSession::~CurlSession() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
        if (transfers != nullptr) transfers->wakeUp();
    }
    arrived.notify_one();
    if (worker.joinable()) worker.join();
}

void CurlSession::dataTask(HttpRequest request, Completion completion) {
    const std::lock_guard lock(mutex);
    arrivals.push_back({std::move(request), std::move(completion)});
    ++underWay;
    if (!worker.joinable()) worker = std::thread([this] { run(); });
    if (transfers != nullptr) transfers->wakeUp();
    arrived.notify_one();
}

bool CurlSession::finish(std::chrono::milliseconds bound) {
    std::unique_lock lock(mutex);
    return ended.wait_for(lock, bound, [this] { return underWay == 0; });
}

void CurlSession::run() {
    ignoreBrokenPipes();
    // Once for the process, and here rather than in the constructor: a start without a request does not pay.
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    (void)initialised;
    std::unique_lock lock(mutex);
    while (true) {
        arrived.wait(lock, [this] { return stopping || !arrivals.empty(); });
        if (stopping) return;
        lock.unlock();
        auto set = std::make_unique<TransferSet>(options);
        lock.lock();
        transfers = set.get();
        lock.unlock();
        serve(*set);
        lock.lock();
        transfers = nullptr;
        lock.unlock();
        set.reset();  // without the lock: what dropped completions own is destroyed here
        // Hours may pass before the next request: what a large answer left free in the heap goes back.
        malloc_trim(0);
        lock.lock();
    }
}

void CurlSession::serve(TransferSet& set) {
    auto lastUse = TransferSet::Clock::now();
    while (takeArrivals(set)) {
        const bool wasBusy = set.size() > 0;
        set.advance();
        countUnderWay(set);
        const auto now = TransferSet::Clock::now();
        if (wasBusy) lastUse = now;
        if (set.size() == 0 && now >= lastUse + options.keepAlive) return;
        set.wait(set.size() > 0 ? TransferSet::Clock::time_point::max() : lastUse + options.keepAlive);
    }
}

bool CurlSession::takeArrivals(TransferSet& set) {
    std::deque<Arrival> fresh;
    {
        const std::lock_guard lock(mutex);
        if (stopping) return false;
        fresh.swap(arrivals);
    }
    for (auto& [request, completion] : fresh)
        set.add(std::move(request), std::move(completion));
    return true;
}

void CurlSession::countUnderWay(const TransferSet& set) {
    const std::lock_guard lock(mutex);
    underWay = arrivals.size() + set.size();
    if (underWay == 0) ended.notify_all();
}

}  // namespace quorvel
