#include <gtest/gtest.h>

#include "platform/linux/statusitem/FakeTrayItem.h"
#include "platform/linux/statusitem/TrayItem.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

using std::chrono::seconds;
using Times = std::vector<long>;

class TraySearchTest : public testing::Test {
protected:
    FakeQueue queue;
    FakeTrayItem item{&queue};
    std::optional<TraySearch> search{std::in_place, queue, item};
};

TEST_F(TraySearchTest, searchesThreeTimesWithinAMinuteAndThenNothingWakesUp) {
    EXPECT_TRUE(queue.isIdle()) << "before it is known whether there is a host";
    search->hostsChanged(false);
    queue.advance(seconds(60));
    EXPECT_EQ(std::exchange(item.shows, {}), (Times{2, 10, 60}));
    EXPECT_TRUE(queue.isIdle());
    item.hasTray = true;
    search->hostsChanged(false);
    for (int turn = 0; turn < 10; ++turn) {
        queue.advance(seconds(1000));
        item.lose();
    }
    EXPECT_EQ(item.shows, (Times{62, 1068, 2110})) << "a tray that is lost again and again";
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, aHostTakesTheItemOverAndItsEndStartsANewSearch) {
    for (const long host : {0, 1, 5, 30, 100}) {
        search->hostsChanged(false);
        queue.advance(seconds(host));
        search->hostsChanged(true);
        item.shows.clear();
        queue.advance(seconds(200));
        EXPECT_EQ(item.shows, Times{}) << host;
    }
    item.hasTray = true;
    search->hostsChanged(false);
    queue.advance(seconds(2));
    EXPECT_EQ(item.shows.size(), 1U);
    // Its answer comes when there is a host already.
    item.lose();
    item.isShown = true;
    search->hostsChanged(true);
    EXPECT_FALSE(item.isShown);
    queue.runUntilIdle();
    search->hostsChanged(false);
    search.reset();
    queue.advance(seconds(100));
    EXPECT_EQ(item.shows.size(), 1U) << "what waits outlives it without harm";
}

}  // namespace
}  // namespace quorvel
