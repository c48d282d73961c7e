#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/PathMonitor.h"

namespace quorvel {

/// Watches the network path and tells, once, when a lost connection returns.
/// Owned by the update check service. Reports arrive on the monitor's serial queue, and the callback runs
/// there.
class ConnectivityService {
public:
    /// Starts `monitor`, unless `skipMonitoring` is set or there is none: then it reports connected for its
    /// whole life.
    explicit ConnectivityService(std::unique_ptr<PathMonitor> monitor, bool skipMonitoring = false);
    ~ConnectivityService();

    /// Whether the last path report was satisfied; false before the first. Any thread.
    bool isConnected() const;

    /// Replaces the callback that the next return of a lost connection takes, clears and runs. Any thread.
    void setOnConnectivityRestored(std::function<void()> callback);
};

}  // namespace quorvel
