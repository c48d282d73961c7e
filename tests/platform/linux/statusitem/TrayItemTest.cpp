#include <gtest/gtest.h>

#include "platform/linux/statusitem/FakeTrayItem.h"
#include "platform/linux/statusitem/TrayItem.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

using std::chrono::seconds;

class TraySearchTest : public testing::Test {
protected:
    /// When the item was asked to show itself since the last call, in seconds.
    std::vector<long> shows() {
        std::vector<long> times;
        for (const auto time : std::exchange(item.shows, {}))
            times.push_back(std::chrono::duration_cast<seconds>(time).count());
        return times;
    }

    FakeQueue queue;
    FakeTrayItem item{&queue};
    TraySearch search{queue, item};
};

using Times = std::vector<long>;

TEST_F(TraySearchTest, searchesThreeTimesWithinAMinuteAndThenNothingWakesUp) {
    EXPECT_TRUE(queue.isIdle()) << "before it is known whether there is a host";
    search.hostsChanged(false);
    queue.advance(seconds(60));
    EXPECT_EQ(shows(), (Times{2, 10, 60}));
    EXPECT_TRUE(queue.isIdle());
    item.hasTray = true;
    search.hostsChanged(false);
    for (int turn = 0; turn < 10; ++turn) {
        queue.advance(seconds(1000));
        item.lose();
    }
    EXPECT_EQ(shows(), (Times{62, 1068, 2110})) << "a tray that is lost again and again";
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, aHostTakesTheItemOverAndItsEndStartsANewSearch) {
    for (const long host : {0, 1, 5, 30, 100}) {
        search.hostsChanged(false);
        queue.advance(seconds(host));
        search.hostsChanged(true);
        shows();
        queue.advance(seconds(200));
        EXPECT_EQ(shows(), Times{}) << host;
    }
    item.hasTray = true;
    const auto start = std::chrono::duration_cast<seconds>(queue.now).count();
    search.hostsChanged(false);
    queue.advance(seconds(2));
    EXPECT_EQ(shows(), Times{start + 2});
    EXPECT_TRUE(item.isShown);
    // Its answer comes when there is a host already.
    item.lose();
    item.isShown = true;
    search.hostsChanged(true);
    EXPECT_FALSE(item.isShown);
    queue.runUntilIdle();
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, whatWaitsOutlivesItWithoutHarm) {
    {
        TraySearch gone(queue, item);
        gone.hostsChanged(false);
    }
    queue.advance(seconds(100));
    EXPECT_EQ(shows(), Times{});
}

}  // namespace
}  // namespace quorvel
