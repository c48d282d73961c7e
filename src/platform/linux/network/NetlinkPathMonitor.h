#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/PathMonitor.h"

namespace quorvel {

/// Watches the network path through the kernel's route messages (rtnetlink, man page 7). Satisfied means that
/// the kernel would send a packet for the Internet over an interface that is up, running and not the
/// loopback, in the network namespace of the thread that calls `start`. Its serial queue is a thread of its
/// own, which sleeps until the kernel has something to tell.
class NetlinkPathMonitor final : public PathMonitor {
public:
    /// After a change, the kernel is asked once it has been silent for `debounce`, or at the latest
    /// `maxDelay` after the change: taking down one link causes half a dozen messages, and a laptop that
    /// changes networks is not told of an outage for the moment in between.
    explicit NetlinkPathMonitor(std::chrono::milliseconds debounce = std::chrono::milliseconds(300),
                                std::chrono::milliseconds maxDelay = std::chrono::milliseconds(1000));
    ~NetlinkPathMonitor() override;
    NetlinkPathMonitor(const NetlinkPathMonitor&) = delete;
    NetlinkPathMonitor& operator=(const NetlinkPathMonitor&) = delete;

    /// The thread is named after the last component of `queueLabel`, cut to the kernel's 15 characters.
    void start(std::string_view queueLabel, UpdateHandler handler) override;
    void cancel() override;

private:
    class Watch;

    /// Shared with the thread: a handler may destroy this monitor.
    std::shared_ptr<Watch> watch;
    std::mutex joining;
    std::thread thread;
};

}  // namespace quorvel
