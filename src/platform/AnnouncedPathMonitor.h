#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "platform/PathMonitor.h"
#include "platform/Queue.h"

namespace quorvel {

/// A path monitor that also announces, once and on `queue`, that its first report has been handled, or that
/// none has come within `timeout` of its start. `queue` outlives it.
class AnnouncedPathMonitor final : public PathMonitor {
public:
    AnnouncedPathMonitor(std::unique_ptr<PathMonitor> monitor, Queue& queue, std::chrono::seconds timeout,
                         std::function<void()> announce)
        : monitor(std::move(monitor)), queue(queue), timeout(timeout), announce(std::move(announce)) {}

    void start(std::string_view queueLabel, UpdateHandler handler) override {
        // Looked at on the queue alone.
        const auto isAnnounced = std::make_shared<bool>(false);
        const auto announceOnce = [isAnnounced, announce = announce] {
            if (!std::exchange(*isAnnounced, true)) announce();
        };
        queue.postAfter(timeout, announceOnce);
        monitor->start(queueLabel, [&queue = queue, announceOnce, handler = std::move(handler)](auto status) {
            handler(status);
            queue.post(announceOnce);
        });
    }

    void cancel() override { monitor->cancel(); }

private:
    const std::unique_ptr<PathMonitor> monitor;
    Queue& queue;
    const std::chrono::seconds timeout;
    const std::function<void()> announce;
};

}  // namespace quorvel
