#include "connectivity/ConnectivityService.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace quorvel {

namespace {

constexpr std::string_view queueLabel = "com.ob.quorvel.connectivity";

}  // namespace

struct ConnectivityService::State {
    std::atomic<bool> isConnected = false;
    /// Whether an outage has been reported since the last restore. Only on the monitor's queue.
    bool wasUnsatisfied = false;
    std::mutex mutex;
    std::function<void()> onConnectivityRestored;

    void update(PathStatus status) {
        const bool satisfied = status == PathStatus::satisfied;
        const bool restored = satisfied && wasUnsatisfied;
        wasUnsatisfied = !satisfied;
        isConnected = satisfied;
        if (!restored) return;
        // The callback reads `isConnected` and may install its successor, hence last and without the lock.
        if (const auto callback = exchangeCallback(nullptr)) callback();
    }

    std::function<void()> exchangeCallback(std::function<void()> replacement) {
        const std::lock_guard lock(mutex);
        return std::exchange(onConnectivityRestored, std::move(replacement));
    }
};

ConnectivityService::ConnectivityService(std::unique_ptr<PathMonitor> pathMonitor, bool skipMonitoring)
    : state(std::make_shared<State>()) {
    if (skipMonitoring || !pathMonitor) {
        state->isConnected = true;
        return;
    }
    monitor = std::move(pathMonitor);
    monitor->start(queueLabel, [weakState = std::weak_ptr(state)](PathStatus status) {
        if (const auto current = weakState.lock()) current->update(status);
    });
}

ConnectivityService::~ConnectivityService() {
    if (monitor) monitor->cancel();
}

bool ConnectivityService::isConnected() const {
    return state->isConnected;
}

void ConnectivityService::setOnConnectivityRestored(std::function<void()> callback) {
    state->exchangeCallback(std::move(callback));
}

}  // namespace quorvel
