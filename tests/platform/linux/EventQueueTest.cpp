#include <csignal>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/linux/EventQueue.h"
#include "support/QueueContract.h"

namespace quorvel {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(EventQueue, QueueContract, EventQueue);

TEST(EventQueue, whatATaskThrowsLeavesRunAndTheOthersRunNextTime) {
    EventQueue queue;
    std::string ran;
    queue.onSignal(SIGUSR2, [] { throw std::runtime_error("broken signal task"); });
    raise(SIGUSR2);
    EXPECT_THROW(queue.run(), std::runtime_error);
    queue.post([] { throw std::runtime_error("broken task"); });
    queue.post([&] { ran += "a"; });
    queue.post([&] { queue.quit(); });
    EXPECT_THROW(queue.run(), std::runtime_error);
    EXPECT_EQ(ran, "");
    queue.run();
    EXPECT_EQ(ran, "a");
}

TEST(EventQueue, runsTheSignalsTaskOnTheQueueEachTime) {
    EventQueue queue;
    const auto runner = std::this_thread::get_id();
    int received = 0;
    queue.onSignal(SIGUSR1, [&] {
        EXPECT_EQ(std::this_thread::get_id(), runner);
        ++received == 2 ? queue.quit() : static_cast<void>(raise(SIGUSR1));
    });
    // Sent by a thread that was started later, to the process.
    std::thread([] { kill(getpid(), SIGUSR1); }).join();
    EXPECT_EQ(received, 0);
    queue.run();
    EXPECT_EQ(received, 2);
}

}  // namespace
}  // namespace quorvel
