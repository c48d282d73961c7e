#include <limits>
#include <utility>

#include "platform/linux/painter/PainterChannelFixture.h"
#include "platform/linux/statusitem/MenuSamples.h"
#include "support/FakeIcons.h"

namespace quorvel {
namespace {

std::string say(const painter::Event& event) {
    return "say " + encode(event) + '\n';
}

/// The status item beside its fake painter. Showings and menus at the pointer are numbered from 1, like
/// windows; so are the items of the first menu that is shown.
class PaintedStatusItemTest : public PainterChannelFixture {
protected:
    static std::shared_ptr<const Menu> menuWith(const std::shared_ptr<CountingTarget>& target) {
        return menuOf({actionItem("About", target), actionItem("Other")});
    }

    /// Ends the loop's run.
    std::shared_ptr<CountingTarget> quitting() {
        const auto target = std::make_shared<CountingTarget>();
        target->andThen = [this] { loop.queue.quit(); };
        return target;
    }

    void show() {
        item->show([this] {
            ++timesMissing;
            loop.queue.quit();
        });
    }

    void makeItem() { item = channel->makeTrayItem(&icons); }

    FakeIcons icons;
    std::unique_ptr<TrayItem> item;
    int timesMissing = 0;
};

constexpr auto chosen = [](std::uint64_t number) { return say(painter::MenuItemChosen{number}); };

TEST_F(PaintedStatusItemTest, whatIsSetBeforeAndAfterTheShowingIsShown) {
    script({hello + "read showTrayIcon\n" + "read showTrayIcon\n" + chosen(4) + "read hideTrayIcon\n"});
    makeItem();
    item->setToolTip("first tip");
    item->setImage({.themeName = "", .bitmaps = {{1, 1, {1, 2, 3, 4}}}, .size = 24});
    item->setMenu(menuWith(std::make_shared<CountingTarget>()));
    loop.queue.post(quit());
    loop.run();
    EXPECT_EQ(starts(), 0) << "nobody has asked for a tray";
    show();
    const auto target = quitting();
    item->setMenu(menuOf({MenuItem::separator(), actionItem("New", target)}));
    loop.run();
    EXPECT_EQ(target->count, 1);
    EXPECT_EQ(countOf("first tip"), 2);
    EXPECT_EQ(countOf("01020304"), 2);
    item.reset();
    loop.queue.postAfter(std::chrono::nanoseconds(0), quit());
    loop.run();
    EXPECT_EQ(starts(), 1);
    EXPECT_EQ(timesMissing, 0);
}

TEST_F(PaintedStatusItemTest, picturesThatComeLaterAreShownWhereTheMenuIs) {
    script({hello + "read showTrayIcon\n" + "read popUpMenu\nread showTrayIcon\nread setMenu\n" + chosen(1) +
            "read end\n"});
    makeItem();
    auto update = actionItem("Update", quitting());
    update.image = BundleIcon{"/A.app"};
    item->setMenu(menuOf({update}));
    icons.come({{"/B.app", {}}});
    show();
    channel->popUpMenu();
    icons.come({{"/A.app", {0xAB, 0xCD, 0xEF}}});
    loop.run();
    EXPECT_EQ(countOf("\"abcdef\""), 2) << "in the tray and at the pointer";
    item.reset();
    icons.come({{"/A.app", {}}});
}

TEST_F(PaintedStatusItemTest, anItemOfAMenuThatWasReplacedOrIsNoneDoesNothing) {
    script({hello + "read showTrayIcon\n" + "read showTrayIcon\n" + chosen(1) + chosen(0) + chosen(99) +
            chosen(std::numeric_limits<std::uint64_t>::max()) + chosen(4) + "read end\n"});
    makeItem();
    const auto unchosen = std::make_shared<CountingTarget>(), last = quitting();
    const auto replaced = menuOf({actionItem("a", unchosen), actionItem("b")});
    item->setMenu(replaced);
    show();
    item->setMenu(menuOf({actionItem("a", unchosen), actionItem("b", last)}));
    loop.run();
    EXPECT_EQ(unchosen->count, 0);
    EXPECT_EQ(last->count, 1);
}

TEST_F(PaintedStatusItemTest, comesBackInATrayWhenThePainterDies) {
    script({hello + "read showTrayIcon\n", hello + "read showTrayIcon\n" + chosen(1) + "read end\n"});
    makeItem();
    item->setMenu(menuWith(quitting()));
    show();
    loop.run();
    EXPECT_EQ(starts(), 2);
    EXPECT_EQ(timesMissing, 0);
}

TEST_F(PaintedStatusItemTest, isMissingOnceWhereItCannotBeShown) {
    const std::string dies = hello + "read showTrayIcon\n";
    struct Row {
        const char* name;
        Lines scripts;
        int starts;
    };
    const Row rows[] = {
        {"there is no tray", {dies + say(painter::TrayIconMissing{1}) + "read end\n"}, 1},
        {"the painter has no display", {"", ""}, 1},
        {"the painter dies again and again", {dies, dies, dies}, 2},
    };
    for (const auto& [name, scripts, expectedStarts] : rows) {
        item.reset();
        for (const auto& entry : std::filesystem::directory_iterator(folder.path))
            std::filesystem::remove(entry);
        open();
        script(scripts);
        timesMissing = 0;
        makeItem();
        show();
        loop.run();
        loop.queue.post(quit());
        loop.run();
        EXPECT_EQ(timesMissing, 1) << name;
        EXPECT_EQ(starts(), expectedStarts) << name;
    }
}

TEST_F(PaintedStatusItemTest, anAnswerToAnotherShowingDoesNotCount) {
    script({hello + "read hideTrayIcon\nread showTrayIcon\n" + say(painter::TrayIconMissing{1}) + chosen(3) +
            "read end\n"});
    makeItem();
    item->setMenu(menuWith(quitting()));
    show();
    item->hide();
    show();
    loop.run();
    EXPECT_EQ(timesMissing, 0);
    EXPECT_EQ(received(), "hello showTrayIcon hideTrayIcon showTrayIcon ");
}

TEST_F(PaintedStatusItemTest, popsUpAndIsReplacedInItsPlaceUntilItIsClosed) {
    script({hello + "read popUpMenu\nread setMenu\n" + chosen(3) + say(painter::MenuClosed{2}) + press +
            "read end\n"});
    const auto window = makeLog();
    makeItem();
    auto target = quitting();
    const std::weak_ptr<CountingTarget> kept = target;
    item->setMenu(menuOf({actionItem("first"), actionItem("second")}));
    channel->setActivationToken("token");
    channel->popUpMenu();
    item->setMenu(menuWith(std::exchange(target, nullptr)));
    loop.run();
    ASSERT_FALSE(kept.expired());
    EXPECT_EQ(kept.lock()->count, 1);
    EXPECT_EQ(received(), "hello popUpMenu setMenu ");
    EXPECT_EQ(countOf("\"token\""), 1);
    loop.run();
    item->setMenu(nullptr);
    EXPECT_TRUE(kept.expired()) << "nobody keeps a menu that was replaced";
}

TEST_F(PaintedStatusItemTest, aMenuThatWasOpenWhenItsPainterDiedStaysAway) {
    script({hello + "read popUpMenu\n", hello + "read showWindow\n" + press + "read end\n"});
    const auto window = makeLog();
    makeItem();
    item->setMenu(menuWith(quitting()));
    window->show();
    channel->popUpMenu();
    loop.run();
    EXPECT_EQ(received(), "hello showWindow popUpMenu hello showWindow ");
}

}  // namespace
}  // namespace quorvel
