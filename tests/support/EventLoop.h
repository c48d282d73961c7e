#pragma once

#include <chrono>
#include <functional>
#include <sstream>
#include <string>
#include <unistd.h>

#include "platform/linux/EventQueue.h"
#include "platform/linux/bus/Bus.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

/// Runs the loop until `condition` holds. False when it does not within a time that is far beyond any need.
inline bool runUntil(EventQueue& queue, const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        constexpr std::uint64_t microseconds = 5000;  // for what no event announces
        require(sd_event_run(queue.event(), microseconds));
    }
    return true;
}

/// Until all has been handled that was posted or came before; a message takes a few turns of the loop.
inline void runWhatIsReady(EventQueue& queue) {
    for (int turn = 0; turn < 40; ++turn)
        require(sd_event_run(queue.event(), 0));
}

/// The oldest child of this process that is not reaped; -1 when there is none.
inline pid_t childProcess() {
    const auto self = std::to_string(getpid());
    std::istringstream children(TemporaryFolder::contentOf("/proc/" + self + "/task/" + self + "/children"));
    pid_t child = -1;
    children >> child;
    return children ? child : -1;
}

}  // namespace quorvel
