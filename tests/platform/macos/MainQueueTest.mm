#include <atomic>
#include <gtest/gtest.h>

#include "platform/macos/MainQueue.h"
#import "platform/macos/Toolkit.h"
#include "support/QueueContract.h"

namespace quorvel {
namespace {

/// With the application's loop for one of its own.
class LoopingQueue final : public Queue {
public:
    LoopingQueue() { toolkit::start(); }
    void post(Task task) override { queue.post(std::move(task)); }
    void postAfter(std::chrono::nanoseconds delay, Task task) override {
        queue.postAfter(delay, std::move(task));
    }
    void run() {
        if (!isQuitting) [NSApp run];
        isQuitting = false;
    }
    void quit() {
        isQuitting = true;
        post([this] {
            if (!isQuitting) return;
            [NSApp stop:nil];
            toolkit::wakeLoop();
        });
    }

    MainQueue queue;

private:
    std::atomic<bool> isQuitting = false;
};

INSTANTIATE_TYPED_TEST_SUITE_P(MainQueue, QueueContract, LoopingQueue);

TEST(MainQueue, runsNothingMoreOnceItIsStopped) {
    LoopingQueue user, queue;
    queue.post([&] { queue.queue.stop(); });
    queue.post([] { FAIL() << "ran"; });
    queue.postAfter(std::chrono::nanoseconds::zero(), [] { FAIL() << "ran"; });
    user.postAfter(std::chrono::milliseconds(1), [&] {
        queue.post([] { FAIL() << "ran"; });
        user.post([&] { user.quit(); });
    });
    user.run();
}

}  // namespace
}  // namespace quorvel
