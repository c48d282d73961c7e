#include <stdlib.h>
#include <utility>

#include "platform/linux/painter/PainterChannelFixture.h"
#include "platform/linux/statusitem/MenuSamples.h"
#include "support/FakeIcons.h"

namespace quorvel {
namespace {

using namespace painter;
using PainterChannelTest = PainterChannelFixture;

std::string chosen(std::uint64_t item) {
    return "say '" + encode(MenuItemChosen{item}) + "'\n";
}

TEST_F(PainterChannelTest, sendsWhatChangesOnceItIsShownAndHearsOfWhatIsThere) {
    open({hello + await("setText") + say(ButtonPressed{77, ""}) + say(ButtonPressed{3, ""}) +
          say(AlertDismissed{77}) + say(WindowClosed{77, 1, {}}) + say(TrayIconMissing{77}) + chosen(1) +
          press + await("closeWindow") + press + say(ButtonPressed{2, "Reset"}) + await("end")});
    auto window = makeLog();
    const auto other = makeLog(), unheard = channel->makeWindow({}, std::weak_ptr<WindowDelegate>());
    window->setText("second");
    window->reloadTable();
    runWhatIsReady(queue);
    EXPECT_EQ(starts(), 0) << "nothing is shown yet";
    delegate->rows = {{"name", "1.0"}};
    window->show();
    window->reloadTable();
    window->setText("third");
    waitForPresses(1);
    EXPECT_EQ(received(), "hello showWindow setRows setText ");
    EXPECT_EQ(countOf("second"), 1);
    EXPECT_EQ(countOf("[\"name\",\"1.0\"]"), 2);
    window.reset();
    waitForPresses(2);
    EXPECT_EQ(delegate->pressed, (Lines{"Refresh", "Reset"}));
}

TEST_F(PainterChannelTest, replacesAPainterThatDiesAndShowsEverythingAgainUntilItIsGoneItself) {
    open({hello + await("popUpMenu"), hello + await("showTrayIcon") + chosen(1) + await("end")});
    const auto window = makeLog(), hidden = makeLog();
    const auto target = std::make_shared<CountingTarget>();
    FakeIcons icons;
    const auto item = channel->makeTrayItem(&icons);
    item->setMenu(menuOf({actionItem("About", target)}));
    window->show();
    window->setText("second");
    channel->runAlert("message", "", [] { FAIL() << "nobody dismissed it"; });
    channel->setText("copied");
    item->show([] { FAIL() << "there is a tray"; });
    channel->popUpMenu();
    waitFor([&] { return target->count > 0; });
    EXPECT_EQ(received(),
              "hello showWindow setText runAlert setPasteboard showTrayIcon popUpMenu "
              "hello showWindow runAlert setPasteboard showTrayIcon ");
    EXPECT_EQ(countOf("second"), 2) << "the text set last is what comes back";
    channel.reset();
    window->show();
    window->setText("third");
    icons.come({{"/A.app", {}}});
    item->show([] {});
}

TEST_F(PainterChannelTest, anAlertThatIsShownAlreadyComesToTheFront) {
    open({hello + await("runAlert") + await("runAlert") + await("runAlert") + say(AlertDismissed{1}) +
          await("runAlert") + say(AlertDismissed{3}) + await("end")});
    int dismissals = 0;
    bool isOver = false;
    const auto again = [&] {
        if (++dismissals == 2) channel->runAlert("message", "", [&] { isOver = true; });
    };
    channel->setActivationToken("token");
    channel->runAlert("message", "", again);
    channel->runAlert("message", "more", [] { FAIL() << "nobody dismissed it"; });
    channel->runAlert("message", "", again);
    waitFor([&] { return isOver; });
    EXPECT_EQ(countOf("[1,\"message\""), 2);
    EXPECT_EQ(countOf("[2,\"message\""), 1);
    EXPECT_EQ(countOf("\"token\""), 1) << "a token is good for one window";
}

/// A painter says hello once it has a display. One of another release says it otherwise.
TEST_F(PainterChannelTest, afterTwoPaintersAllIsOverUntilSomethingIsAskedFor) {
    const std::string dies = hello + await("showTrayIcon"), findsNone, other = say(Hello{1}) + await("end"),
                      babbles = hello + "say ''\n" + await("end"), last = hello + await("showWindow") + press;
    const struct {
        const char* name;
        Lines scripts;
        int losses;
    } rows[] = {{"the second finds no display", {dies, findsNone, last}, 1},
                {"both die", {dies, dies, last}, 0},
                {"there is no display", {findsNone, findsNone, last}, 0},
                {"they break the protocol", {other, babbles, last}, 0}};
    for (const auto& [name, scripts, expectedLosses] : rows) {
        open(scripts);
        delegate->pressed.clear();
        int losses = 0, dismissals = 0, missing = 0;
        channel->onDisplayLost([&] { ++losses; });
        const auto window = makeLog();
        const auto item = channel->makeTrayItem(nullptr);
        channel->setText("copied");
        channel->runAlert("message", "", [&] { ++dismissals; });
        item->show([&] { ++missing; });
        window->show();
        waitFor([&] { return dismissals > 0; });
        runWhatIsReady(queue);
        EXPECT_EQ(starts(), 2) << name;
        EXPECT_EQ(missing, 1) << name;
        EXPECT_EQ(losses, expectedLosses) << name;
        window->setText("unseen");
        window->show();
        waitForPresses(1);
        EXPECT_EQ(starts(), 3) << name;
        EXPECT_EQ(dismissals, 1) << name;
        EXPECT_TRUE(received().ends_with("hello showWindow ")) << received();
    }
}

TEST_F(PainterChannelTest, aWindowIsClosedByItsPresentShowingAloneAndComesBackWhereItWasLeft) {
    open({hello + await("showWindow") + await("showWindow") + say(WindowClosed{1, 2, {0, 0, 9, 9}}) + press +
              await("setPasteboard") + say(WindowClosed{1, 3, {5, 6, 700, 500}}) + say(PasteboardLost{4}),
          hello + await("showWindow") + say(WindowClosed{1, 5, {}}),
          hello + await("showWindow") + press + await("end")});
    const auto window = makeLog();
    window->show();
    window->show();
    waitForPresses(1);
    window->setText("still open");
    channel->setText("copied");
    for (int start = 1; start <= 2; ++start) {
        waitForNoChild();
        runWhatIsReady(queue);
        EXPECT_LT(childProcess(), 0) << "what is closed, or lost to another program, does not come back";
        EXPECT_EQ(starts(), start);
        window->show();
    }
    waitForPresses(2);
    EXPECT_EQ(countOf("[5,6,700,500]"), 2);
    EXPECT_EQ(countOf("still open"), 3);
}

TEST_F(PainterChannelTest, theTrayItemFollowsWhatIsSetUntilItIsHidden) {
    open({hello + await("hideTrayIcon") + await("showTrayIcon") + say(TrayIconMissing{1}) + chosen(1) +
          chosen(6) + await("hideTrayIcon")});
    FakeIcons icons;
    auto item = channel->makeTrayItem(&icons);
    const auto present = std::make_shared<CountingTarget>();
    auto update = actionItem("Update");
    update.image = BundleIcon{"/A.app"};
    item->setImage(
        std::make_shared<Image>(Image{.themeName = "", .bitmaps = {{1, 1, {1, 2, 3, 4}}}, .size = 24}));
    item->setMenu(menuOf({update, actionItem("Other")}));
    runWhatIsReady(queue);
    EXPECT_EQ(starts(), 0) << "nobody has asked for a tray";
    item->show([] { FAIL() << "that was an answer to another showing"; });
    icons.come({{"/A.app", {0xAB, 0xCD, 0xEF}}});
    item->setMenu(menuOf({MenuItem::separator(), actionItem("New", present)}));
    item->hide();
    item->hide();
    item->show([] { FAIL() << "that was an answer to another showing"; });
    waitFor([&] { return present->count == 1; });
    EXPECT_EQ(received(), "hello showTrayIcon showTrayIcon showTrayIcon hideTrayIcon showTrayIcon ");
    EXPECT_EQ(countOf("\"abcdef\""), 1);
    EXPECT_EQ(countOf("01020304"), 4) << "the image too is what was set last";
    item.reset();
    waitForNoChild();
    EXPECT_EQ(starts(), 1);
}

TEST_F(PainterChannelTest, theMenuAtThePointerIsReplacedInItsPlaceUntilItIsClosed) {
    open({hello + await("popUpMenu") + await("setMenu") + chosen(3) + say(MenuClosed{1}) + press +
          say(MenuClosed{2}) + press + await("end")});
    const auto window = makeLog();
    FakeIcons icons;
    const auto item = channel->makeTrayItem(&icons);
    channel->popUpMenu();
    auto target = std::make_shared<CountingTarget>();
    const std::weak_ptr<CountingTarget> kept = target;
    item->setMenu(menuOf({actionItem("first"), actionItem("second")}));
    channel->popUpMenu();
    item->setMenu(menuOf({actionItem("About", std::exchange(target, nullptr)), actionItem("Other")}));
    waitForPresses(1);
    EXPECT_EQ(kept.lock()->count, 1);
    EXPECT_EQ(received(), "hello popUpMenu setMenu ");
    waitForPresses(2);
    item->setMenu(nullptr);
    EXPECT_TRUE(kept.expired()) << "nobody keeps a menu that was replaced";
}

TEST_F(PainterChannelTest, theRealPainterEndsAfterItsLastWindow) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("XDG_RUNTIME_DIR", folder.path.c_str(), 1);
    channel =
        std::make_unique<PainterChannel>(queue, Lines{PROGRAM_FOLDER "/quorvel-painter", "--linger", "1"});
    auto window = makeLog();
    window->show();
    bool isMissing = false;
    const auto item = channel->makeTrayItem(nullptr);
    item->show([&] { isMissing = true; });
    waitFor([&] { return isMissing; });  // from a screen without a tray, after the window
    window.reset();
    waitForNoChild();
}

}  // namespace
}  // namespace quorvel
