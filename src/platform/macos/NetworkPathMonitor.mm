#import "platform/macos/NetworkPathMonitor.h"

#import <Network/Network.h>
#include <atomic>
#include <dispatch/dispatch.h>
#include <string>
#include <utility>

#include "platform/macos/ToolkitCall.h"

namespace quorvel {

namespace {

PathStatus statusOf(nw_path_t path) {
    const auto status = nw_path_get_status(path);
    if (status == nw_path_status_satisfied) return PathStatus::satisfied;
    return status == nw_path_status_satisfiable ? PathStatus::requiresConnection : PathStatus::unsatisfied;
}

}  // namespace

/// Lives until the system has let go of the update handler.
struct NetworkPathMonitor::Watch {
    Watch(const std::string& label, UpdateHandler handler)
        : queue(dispatch_queue_create(label.c_str(), DISPATCH_QUEUE_SERIAL)), handler(std::move(handler)) {
        dispatch_queue_set_specific(queue, this, this, nullptr);
    }
    ~Watch() {
        nw_release(monitor);
        dispatch_release(queue);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    const nw_path_monitor_t monitor = nw_path_monitor_create();
    const dispatch_queue_t queue;
    const UpdateHandler handler;
    std::atomic<bool> isCancelled = false;
};

void NetworkPathMonitor::start(std::string_view queueLabel, UpdateHandler handler) {
    const auto started = watch = std::make_shared<Watch>(std::string(queueLabel), std::move(handler));
    nw_path_monitor_set_queue(started->monitor, started->queue);
    nw_path_monitor_set_update_handler(started->monitor, ^(nw_path_t path) {
      if (!started->isCancelled) runForToolkit([&] { started->handler(statusOf(path)); });
    });
    nw_path_monitor_start(started->monitor);
}

void NetworkPathMonitor::cancel() {
    const auto ended = std::exchange(watch, nullptr);
    if (!ended) return;
    ended->isCancelled = true;
    nw_path_monitor_cancel(ended->monitor);
    // A handler that is running has returned afterwards, unless it is what cancels.
    if (dispatch_get_specific(ended.get()) == nullptr) dispatch_sync_f(ended->queue, nullptr, [](void*) {});
}

}  // namespace quorvel
