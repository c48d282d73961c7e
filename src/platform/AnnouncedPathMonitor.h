#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/PathMonitor.h"

namespace quorvel {

/// A path monitor that also says, once, when its first report has been handled. `announce` runs on the
/// monitor's queue.
class AnnouncedPathMonitor final : public PathMonitor {
public:
    AnnouncedPathMonitor(std::unique_ptr<PathMonitor> monitor, std::function<void()> announce)
        : monitor(std::move(monitor)), announce(std::move(announce)) {}

    void start(std::string_view queueLabel, UpdateHandler handler) override {
        monitor->start(queueLabel, [this, handler = std::move(handler)](PathStatus status) {
            handler(status);
            // Reports come one after another, so nobody else looks at the flag meanwhile.
            if (!std::exchange(isAnnounced, true)) announce();
        });
    }

    void cancel() override { monitor->cancel(); }

private:
    const std::unique_ptr<PathMonitor> monitor;
    const std::function<void()> announce;
    bool isAnnounced = false;
};

}  // namespace quorvel
