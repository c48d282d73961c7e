#include <gtest/gtest.h>
#include <stdlib.h>

#include "platform/linux/statusitem/FakeTrayItem.h"
#include "platform/linux/statusitem/MenuLayout.h"
#include "platform/linux/statusitem/StatusNotifierItem.h"
#include "support/BusFixture.h"
#include "support/FakeIcons.h"
#include "support/StatusBarContract.h"

namespace quorvel {
namespace {

using Texts = std::vector<std::string>;

class StatusNotifierItemTest : public BusFixture {
protected:
    void SetUp() override {
        BusFixture::SetUp();
        unsetenv("XDG_DATA_HOME");
        setenv("HOME", themes.path.c_str(), 1);
        setenv("XDG_DATA_DIRS", ("relative:" + moreThemes.path.string()).c_str(), 1);
        const char* own = nullptr;
        ASSERT_GE(sd_bus_get_unique_name(bus.connection(), &own), 0);
        name = own;
    }

    void makeItem(bool mayHaveTray = false) {
        auto owned = std::make_unique<FakeTrayItem>();
        tray = owned.get();
        item.emplace(bus, &icons, std::move(owned), mayHaveTray,
                     [this](const std::string& token) { happened.push_back(token); });
    }

    /// The item, registered with the panel.
    void start() {
        panel->come();
        makeItem();
        ASSERT_TRUE(registered(1));
    }

    bool registered(std::size_t count) {
        return runUntil(queue, [&] { return panel->registrations.size() >= count; });
    }

    /// What the program sent before this call has reached the panel after it.
    void settle() { panel->property(name, "Id"); }

    template <typename... Arguments>
    std::string onMenu(const char* member, const char* types, Arguments... arguments) {
        return panel->call(name, "/MenuBar", "com.canonical.dbusmenu", member, types, arguments...);
    }

    void useAll() {
        item->setImage(
            std::make_shared<Image>(Image{.themeName = "q", .bitmaps = {{1, 1, {0, 0, 0, 0}}}, .size = 24}));
        item->setToolTip("Quorvel");
        item->setMenu(menuOf({actionItem("a")}));
    }

    TemporaryFolder themes, moreThemes;
    FakeIcons icons;
    std::optional<StatusNotifierItem> item;
    FakeTrayItem* tray = nullptr;
    /// Tokens, and choices that note themselves.
    Texts happened;
    /// By which the panel calls the item.
    std::string name;
};

class StatusNotifierItemInAPanel : public StatusNotifierItemTest {
protected:
    void SetUp() override {
        StatusNotifierItemTest::SetUp();
        start();
    }
    std::string shownMenu() { return outline(panel->menu(name)); }
    void choose(const std::string& title) {
        EXPECT_TRUE(panel->click(name, panel->menu(name).named(title).id));
        runWhatIsReady(queue);
    }
};

INSTANTIATE_TYPED_TEST_SUITE_P(Panel, StatusBarContract, StatusNotifierItemInAPanel);

TEST_F(StatusNotifierItemTest, registersOnceWithEachWatcherThatIsThereOrComes) {
    start();
    item.reset();
    panel->leave();
    makeItem();
    settle();
    EXPECT_EQ(panel->registrations.size(), 1U);
    panel->come();
    ASSERT_TRUE(registered(2));
    panel->leave();
    panel = std::make_unique<FakePanel>(queue);
    panel->come();
    ASSERT_TRUE(registered(1));
    settle();
    ASSERT_EQ(panel->registrations.size(), 1U);
    EXPECT_EQ(panel->registrations[0], name);
}

/// Panels log an error for each property that is missing.
TEST_F(StatusNotifierItemTest, answersEveryPropertyOfTheInterface) {
    start();
    item->setToolTip("tip\nof\uFFFE lines");
    EXPECT_EQ(panel->call(name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll", "s",
                          "org.kde.StatusNotifierItem"),
              "[Category=ApplicationStatus Id=quorvel Title=Quorvel Status=Active WindowId=0 IconThemePath= "
              "IconName= IconPixmap=[] IconAccessibleDesc=Quorvel OverlayIconName= OverlayIconPixmap=[] "
              "AttentionIconName= AttentionIconPixmap=[] AttentionMovieName= AttentionAccessibleDesc= "
              "ToolTip=( [] tip of lines ) ItemIsMenu=true Menu=</MenuBar>]");
}

/// A panel recolours by the name; one that it cannot find is drawn as nothing by some, whatever pixels are
/// there. Pixels are ARGB in network order, and grey for a template.
TEST_F(StatusNotifierItemTest, namesTheIconOnlyWhereItIsFoundAndSendsItsPixels) {
    themes.write(".local/share/icons/hicolor/symbolic/apps/here-symbolic.svg", "<svg/>");
    moreThemes.write("icons/hicolor/scalable/apps/here.svg", "<svg/>");
    start();
    const std::string colours = "[(2 1 [4 1 2 3 253 250 251 252])]";
    const std::string greys = "[(2 1 [4 128 128 128 253 128 128 128])]";
    const struct {
        const char* themeName;
        bool isTemplate;
        std::string name, path, pixels;
    } rows[] = {
        {"here", true, "here-symbolic", themes.path / ".local/share/icons", greys},
        {"here", false, "here", moreThemes.path / "icons", colours},
        {"nowhere", true, "", "", greys},
        {"", false, "", "", colours},
    };
    const Bitmap wide{.width = 2, .height = 1, .rgba = {1, 2, 3, 4, 250, 251, 252, 253}};
    for (const auto& row : rows) {
        const Image image{
            .themeName = row.themeName, .bitmaps = {wide}, .size = 24, .isTemplate = row.isTemplate};
        item->setImage(std::make_shared<Image>(image));
        EXPECT_EQ(panel->property(name, "IconName"), row.name) << row.themeName << row.isTemplate;
        EXPECT_EQ(panel->property(name, "IconThemePath"), row.path) << row.themeName << row.isTemplate;
        EXPECT_EQ(panel->property(name, "IconPixmap"), row.pixels) << row.themeName << row.isTemplate;
    }
    EXPECT_EQ(panel->signals, Texts(std::size(rows), "NewIcon "));
    for (int time = 0; time < 2; ++time) {
        item->setImage(std::make_shared<Image>());
        item->setToolTip("Quorvel");
    }
    settle();
    EXPECT_EQ(panel->signals.size(), std::size(rows) + 2) << "what changes nothing is not announced";
    EXPECT_EQ(panel->signals.back(), "NewToolTip ");
}

TEST_F(StatusNotifierItemTest, staysUsableWhenTheBusIsLost) {
    start();
    int lost = 0;
    bus.onLost([&] { ++lost; });
    daemon.end();
    ASSERT_TRUE(runUntil(queue, [&] { return lost > 0; }));
    EXPECT_EQ(bus.connection(), nullptr);
    useAll();
    // Neither end of the lost connection keeps the loop busy.
    int turns = 0;
    while (turns < 100 && sd_event_run(queue.event(), 0) > 0)
        ++turns;
    EXPECT_LT(turns, 100);
    EXPECT_EQ(lost, 1);
    for (const bool mayHaveTray : {false, true}) {
        makeItem(mayHaveTray);
        useAll();
        runWhatIsReady(queue);
        EXPECT_EQ(tray->image.themeName + tray->toolTip + displayTitle(tray->menu->items.at(0)), "qQuorvela");
        EXPECT_EQ(tray->hides, mayHaveTray ? 1 : 0) << "whether the search for a tray has begun";
    }
}

TEST_F(StatusNotifierItemTest, saysPlainlyThatThereIsNoBus) {
    const struct {
        const char* address;
        const char* expected;
    } rows[] = {
        {nullptr, "There is no session bus: neither DBUS_SESSION_BUS_ADDRESS nor XDG_RUNTIME_DIR is set."},
        {"unix:path=/nonexistent/bus",
         "Could not reach the session bus at unix:path=/nonexistent/bus: No such file or directory."},
    };
    unsetenv("XDG_RUNTIME_DIR");
    for (const auto& [address, expected] : rows) {
        address ? setenv("DBUS_SESSION_BUS_ADDRESS", address, 1) : unsetenv("DBUS_SESSION_BUS_ADDRESS");
        EXPECT_EQ(SessionBus(queue).connect().error(), expected);
    }
}

TEST_F(StatusNotifierItemTest, picturesThatComeLaterAreOneSignal) {
    start();
    const auto with = [](const char* bundle) {
        auto made = actionItem(bundle);
        made.image = BundleIcon{bundle};
        return made;
    };
    item->setMenu(menuOf({with("/Old.app")}));
    item->setMenu(menuOf({with("/A.app"), submenuItem("sub", {with("/B.app"), with("/C.app")})}));
    EXPECT_EQ(icons.listed, (std::vector<BundleIcon>{{"/A.app"}, {"/B.app"}, {"/C.app"}}));
    icons.come({{"/A.app", {1, 2, 3}}, {"/C.app", {4}}});
    icons.come({{"/Old.app", {5}}});
    settle();
    // Nothing is taken away: hosts differ in which half of the signal they read first.
    EXPECT_EQ(panel->signals,
              Texts{"ItemsPropertiesUpdated [(2 [icon-data=[1 2 3]]) (5 [icon-data=[4]])] []"});
    EXPECT_EQ(panel->layoutUpdates.size(), 2U) << "it is still the same menu";
    EXPECT_EQ(panel->menu(name).named("/C.app").properties.at("icon-data"), "[4]");
    item.reset();
    icons.come({{"/B.app", {}}});
}

TEST_F(StatusNotifierItemTest, answersTheCallsForItemsThatAreThereAndForStaleOnes) {
    start();
    const auto target = std::make_shared<CountingTarget>();
    target->andThen = [this] { happened.push_back("chosen"); };
    item->setMenu(menuOf({actionItem("gone")}));
    item->setMenu(menuOf({actionItem("a", target), MenuItem::separator()}));
    constexpr int stale = 1, id = 2;
    const auto label = "[(2 [label=a])]";
    const std::string invalid = SD_BUS_ERROR_INVALID_ARGS;
    EXPECT_EQ(onMenu("Event", "isvu", stale, "clicked", "s", "", 0U), invalid);
    panel->call(name, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "ProvideXdgActivationToken", "s",
                "token");
    EXPECT_EQ(onMenu("EventGroup", "a(isvu)", 3, id, "clicked", "s", "", 0U, stale, "clicked", "i", 7, 0U, id,
                     "opened", "s", "", 0U),
              "[1]");
    ASSERT_TRUE(runUntil(queue, [&] { return happened.size() > 1; }));
    EXPECT_EQ(happened, (Texts{"token", "chosen"}));
    EXPECT_EQ(onMenu("AboutToShow", "i", id), "false") << "nothing is filled in on showing";
    EXPECT_EQ(onMenu("AboutToShow", "i", stale), invalid);
    EXPECT_EQ(onMenu("AboutToShowGroup", "ai", 3, 0, stale, id), "[] [1]");
    EXPECT_EQ(onMenu("GetGroupProperties", "aias", 2, stale, id, 1, "label"), label);
    EXPECT_EQ(onMenu("GetGroupProperties", "aias", 0, 0),
              "[(0 [children-display=submenu]) (2 [label=a]) (3 [type=separator])]");
    EXPECT_EQ(onMenu("GetProperty", "is", id, "label"), "a");
    EXPECT_EQ(onMenu("GetProperty", "is", id, "enabled"), invalid) << "it has its default value";
    EXPECT_EQ(onMenu("GetProperty", "is", stale, "label"), invalid);
    EXPECT_EQ(onMenu("GetLayout", "iias", stale, -1, 0), invalid);
    // No deeper, and no more of each, than was asked for.
    item->setMenu(menuOf({submenuItem("a", {submenuItem("b", {actionItem("c")})})}));
    EXPECT_EQ(onMenu("GetLayout", "iias", 4, 0, 1, "label"), "3 (4 [label=a] [])");
    EXPECT_EQ(onMenu("GetLayout", "iias", 4, 1, 1, "label"), "3 (4 [label=a] [(5 [label=b] [])])");
    EXPECT_EQ(panel->layoutUpdates, (std::vector<std::uint32_t>{1, 2, 3}));
    EXPECT_EQ(target->count, 1);
}

/// A watcher on the bus that does or does not know of a host.
class StatusNotifierWatcherTest : public StatusNotifierItemTest {
protected:
    bool reports(const std::vector<bool>& expected) {
        const bool came = runUntil(queue, [&] { return reported.size() >= expected.size(); });
        return came && reported == expected;
    }

    std::vector<bool> reported;
    StatusNotifierWatcher::HostsChanged report = [this](bool areThere) { reported.push_back(areThere); };
};

TEST_F(StatusNotifierWatcherTest, reportsEachChangeOfTheHostsOnce) {
    const StatusNotifierWatcher watcher(bus, report);
    EXPECT_TRUE(reports({false}));
    panel->come();
    EXPECT_TRUE(reports({false, true}));
    panel->setHost(false);
    EXPECT_TRUE(reports({false, true, false}));
    panel->setHost(true);
    EXPECT_TRUE(reports({false, true, false, true}));
    panel->leave();
    EXPECT_TRUE(reports({false, true, false, true, false}));
    // A watcher that does not know the question hosts its items itself.
    panel->forgetObjects();
    panel->come();
    EXPECT_TRUE(reports({false, true, false, true, false, true}));
    SessionBus none(queue);
    const StatusNotifierWatcher nobody(none, report);
    EXPECT_TRUE(reports({false, true, false, true, false, true, false}));
}

}  // namespace
}  // namespace quorvel
