#pragma once

#include <functional>
#include <string_view>

namespace quorvel {

enum class PathStatus { satisfied, unsatisfied, requiresConnection };

/// Watches the system's network path: whether there is a usable way out of this machine.
class PathMonitor {
public:
    using UpdateHandler = std::function<void(PathStatus)>;

    /// Cancels, when that has not been done.
    virtual ~PathMonitor() = default;

    /// Reports the present status soon, then each change, through `handler`, one after another on a serial
    /// queue of the monitor's own that carries `queueLabel`. Called once at the most.
    virtual void start(std::string_view queueLabel, UpdateHandler handler) = 0;

    /// Ends the reports. When it returns, `handler` is not running and never runs again; called from inside
    /// `handler`, this holds from the handler's return on.
    virtual void cancel() = 0;
};

}  // namespace quorvel
