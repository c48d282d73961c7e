#include <gtest/gtest.h>

#include "platform/linux/desktop/DesktopStatusItem.h"
#include "platform/linux/statusitem/MenuSamples.h"
#include "platform/linux/statusitem/StatusItemFixture.h"
#include "platform/linux/statusitem/TraySearch.h"
#include "support/FakeQueue.h"

namespace quorvel {
namespace {

using std::chrono::seconds;
using Times = std::vector<seconds>;

/// Notes when it was asked to show itself; a tray is there once the test says so.
struct FakeTrayItem final : TrayItem {
    explicit FakeTrayItem(FakeQueue* testQueue = nullptr) : queue(testQueue) {}

    void setImage(const Image& newImage) override { image = newImage; }
    void setToolTip(const std::string& text) override { toolTip = text; }
    void setMenu(std::shared_ptr<const Menu> newMenu) override { menu = std::move(newMenu); }

    void show(std::function<void()> onMissing) override {
        shows.push_back(std::chrono::duration_cast<seconds>(queue->now));
        isShown = hasTray;
        missing = std::move(onMissing);
        if (!hasTray) queue->post(missing);
    }
    void hide() override { isShown = false; }

    void lose() {
        isShown = false;
        queue->post(missing);
    }

    FakeQueue* queue;
    Times shows;
    bool hasTray = false;
    bool isShown = false;
    std::function<void()> missing;
    Image image;
    std::string toolTip;
    std::shared_ptr<const Menu> menu;
};

class TraySearchTest : public testing::Test {
protected:
    FakeQueue queue;
    FakeTrayItem item{&queue};
    TraySearch search{queue, item};
};

TEST_F(TraySearchTest, looksThreeTimesWithinAMinuteAndThenNothingWakesUp) {
    EXPECT_TRUE(queue.isIdle()) << "before it is known whether there is a host";
    search.hostsChanged(false);
    queue.advance(seconds(60));
    EXPECT_EQ(item.shows, (Times{seconds(2), seconds(10), seconds(60)}));
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, neitherLooksNorWaitsBesideAHost) {
    search.hostsChanged(true);
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, aTrayThatIsLostAgainAndAgainIsLookedForNoMoreOften) {
    item.hasTray = true;
    search.hostsChanged(false);
    for (int turn = 0; turn < 10; ++turn) {
        queue.advance(seconds(1000));
        if (item.isShown) item.lose();
    }
    EXPECT_EQ(item.shows, (Times{seconds(2), seconds(1008), seconds(2050)}));
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, aHostTakesTheItemOverAndItsEndIsSearchedAnew) {
    for (const auto host : {seconds(0), seconds(1), seconds(5), seconds(30), seconds(100)}) {
        const auto start = std::chrono::duration_cast<seconds>(queue.now);
        item.shows.clear();
        item.hasTray = host == seconds(100);
        search.hostsChanged(false);
        queue.advance(host);
        EXPECT_EQ(item.isShown, item.hasTray);
        search.hostsChanged(true);
        EXPECT_FALSE(item.isShown) << host.count();
        item.shows.clear();
        queue.advance(seconds(200));
        EXPECT_EQ(item.shows, Times{}) << host.count();
        EXPECT_EQ(std::chrono::duration_cast<seconds>(queue.now), start + host + seconds(200));
    }
    item.hasTray = false;
    const auto start = std::chrono::duration_cast<seconds>(queue.now);
    search.hostsChanged(false);
    queue.advance(seconds(60));
    EXPECT_EQ(item.shows, (Times{start + seconds(2), start + seconds(10), start + seconds(60)}));
}

TEST_F(TraySearchTest, anAnswerFromBeforeTheHostCameCountsForNothing) {
    item.hasTray = true;
    search.hostsChanged(false);
    queue.advance(seconds(2));
    item.lose();
    search.hostsChanged(true);
    queue.runUntilIdle();
    EXPECT_TRUE(queue.isIdle());
}

TEST_F(TraySearchTest, whatWaitsOutlivesItWithoutHarm) {
    {
        TraySearch gone(queue, item);
        gone.hostsChanged(false);
    }
    queue.advance(seconds(100));
    EXPECT_EQ(item.shows, Times{});
}

/// A watcher on the bus that does or does not know of a host.
class StatusNotifierHostsTest : public StatusItemFixture {
protected:
    bool tells(const std::vector<bool>& expected) {
        const bool came = runUntil(queue, [&] { return told.size() >= expected.size(); });
        return came && told == expected;
    }

    std::vector<bool> told;
};

TEST_F(StatusNotifierHostsTest, tellsEachChangeOnce) {
    const StatusNotifierHosts hosts(bus, [&](bool areThere) { told.push_back(areThere); });
    EXPECT_TRUE(tells({false}));
    panel->come();
    EXPECT_TRUE(tells({false, true}));
    panel->leave();
    EXPECT_TRUE(tells({false, true, false}));
    panel->setHost(false);
    panel->come();
    panel->setHost(true);
    EXPECT_TRUE(tells({false, true, false, true}));
    panel->setHost(false);
    EXPECT_TRUE(tells({false, true, false, true, false}));
}

TEST_F(StatusNotifierHostsTest, asksAWatcherThatIsThereAlready) {
    panel->come();
    const StatusNotifierHosts hosts(bus, [&](bool areThere) { told.push_back(areThere); });
    EXPECT_TRUE(told.empty());
    EXPECT_TRUE(tells({true}));
}

TEST_F(StatusNotifierHostsTest, aWatcherWithoutTheQuestionHostsItsItemsItself) {
    require(sd_bus_request_name(panel->connection(), "org.kde.StatusNotifierWatcher", 0));
    panel->forgetObjects();
    const StatusNotifierHosts hosts(bus, [&](bool areThere) { told.push_back(areThere); });
    EXPECT_TRUE(tells({true}));
}

TEST_F(StatusNotifierHostsTest, withoutABusThereIsNone) {
    SessionBus none(queue);
    const StatusNotifierHosts hosts(none, [&](bool areThere) { told.push_back(areThere); });
    EXPECT_TRUE(tells({false}));
}

TEST_F(StatusNotifierHostsTest, theItemIsTheSameInAPanelAndInATray) {
    icons.write("icons/hicolor/scalable/apps/q.svg", "<svg/>");
    panel->come();
    auto owned = std::make_unique<FakeTrayItem>();
    const auto& tray = *owned;
    DesktopStatusItem both(bus, bar.makeStatusItem(), std::move(owned), false);
    ASSERT_TRUE(registered(1));
    both.setToolTip("Quorvel");
    both.setImage({.themeName = "q", .bitmaps = {}, .size = 24});
    const auto menu = menuOf({actionItem("a")});
    both.setMenu(menu);
    EXPECT_EQ(tray.toolTip, "Quorvel");
    EXPECT_EQ(tray.image.themeName, "q");
    EXPECT_EQ(tray.menu, menu);
    EXPECT_EQ(panel->textProperty(name, "IconName"), "q");
    EXPECT_TRUE(panel->menu(name).root.has("a"));
}

}  // namespace
}  // namespace quorvel
