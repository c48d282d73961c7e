#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "platform/linux/EventQueue.h"
#include "support/QueueContract.h"

namespace quorvel {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(EventQueue, QueueContract, EventQueue);

TEST(EventQueue, whatATaskThrowsLeavesRunAndTheOthersRunNextTime) {
    EventQueue queue;
    std::string ran;
    queue.post([] { throw std::runtime_error("broken task"); });
    queue.post([&] { ran += "a"; });
    queue.post([&] { queue.quit(); });
    EXPECT_THROW(queue.run(), std::runtime_error);
    EXPECT_EQ(ran, "");
    queue.run();
    EXPECT_EQ(ran, "a");
}

}  // namespace
}  // namespace quorvel
