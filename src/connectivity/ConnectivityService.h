#pragma once

#include <functional>
#include <memory>

#include "platform/PathMonitor.h"

namespace quorvel {

/// Watches the network path and runs a callback, once, when a lost connection returns.
/// Owned by the update check service. Reports arrive on the monitor's serial queue, and the callback runs
/// there.
class ConnectivityService {
public:
    /// Starts `monitor`, unless `skipMonitoring` is set or there is none: then it reports connected for its
    /// whole life.
    explicit ConnectivityService(std::unique_ptr<PathMonitor> monitor, bool skipMonitoring = false);

    /// When it returns, the callback is not running and never runs again. From inside the callback it may be
    /// called, too.
    ~ConnectivityService();

    /// Whether the last path report was satisfied; false before the first. Any thread.
    bool isConnected() const;

    /// Replaces the callback that the next return of a lost connection takes, clears and runs. Any thread.
    void setOnConnectivityRestored(std::function<void()> callback);

private:
    struct State;

    /// Shared with a report that runs, because the callback may destroy the service.
    std::shared_ptr<State> state;
    std::unique_ptr<PathMonitor> monitor;
};

}  // namespace quorvel
