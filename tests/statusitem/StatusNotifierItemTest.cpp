#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include "statusitem/MenuSamples.h"
#include "statusitem/StatusItemFixture.h"

namespace quorvel {
namespace {

class StatusNotifierItemTest : public StatusItemFixture {
protected:
    struct Pixmap {
        int width = 0, height = 0;
        std::vector<std::uint8_t> bytes;
        bool operator==(const Pixmap&) const = default;
    };

    std::vector<Pixmap> pixmaps() {
        const auto reply = panel->property(name, "org.kde.StatusNotifierItem", "IconPixmap");
        std::vector<Pixmap> found;
        require(sd_bus_message_enter_container(reply.get(), 'v', "a(iiay)"));
        require(sd_bus_message_enter_container(reply.get(), 'a', "(iiay)"));
        while (require(sd_bus_message_enter_container(reply.get(), 'r', "iiay")) > 0) {
            Pixmap pixmap;
            const void* bytes = nullptr;
            std::size_t size = 0;
            require(sd_bus_message_read(reply.get(), "ii", &pixmap.width, &pixmap.height));
            require(sd_bus_message_read_array(reply.get(), 'y', &bytes, &size));
            pixmap.bytes.assign(static_cast<const std::uint8_t*>(bytes),
                                static_cast<const std::uint8_t*>(bytes) + size);
            found.push_back(pixmap);
            require(sd_bus_message_exit_container(reply.get()));
        }
        return found;
    }

    std::string toolTip() {
        const auto reply = panel->property(name, "org.kde.StatusNotifierItem", "ToolTip");
        const char* title = nullptr;
        require(sd_bus_message_enter_container(reply.get(), 'v', "(sa(iiay)ss)"));
        require(sd_bus_message_enter_container(reply.get(), 'r', "sa(iiay)ss"));
        require(sd_bus_message_skip(reply.get(), "sa(iiay)"));
        require(sd_bus_message_read(reply.get(), "s", &title));
        return title;
    }
};

TEST_F(StatusNotifierItemTest, registersOnceWithAWatcherThatIsThere) {
    start();
    settle();
    ASSERT_EQ(panel->registrations.size(), 1U);
    EXPECT_EQ(panel->registrations[0].name, name);
}

TEST_F(StatusNotifierItemTest, registersWithAWatcherThatComesLateAndWithEachThatFollows) {
    item = bar.makeStatusItem();
    ASSERT_TRUE(runUntil(queue, [&] { return panel->sees(name); }));
    settle();
    EXPECT_TRUE(panel->registrations.empty());
    panel->come();
    ASSERT_TRUE(registered(1));
    panel->leave();
    panel->come();
    ASSERT_TRUE(registered(2));
    panel->leave();
    panel = std::make_unique<FakePanel>(queue);
    panel->come();
    ASSERT_TRUE(registered(1));
    settle();
    EXPECT_EQ(panel->registrations.size(), 1U);
    EXPECT_EQ(panel->registrations[0].name, name);
}

TEST_F(StatusNotifierItemTest, goesByItsConnectionWhenAnotherHasItsName) {
    require(sd_bus_request_name(panel->connection(), name.c_str(), 0));
    start();
    EXPECT_EQ(panel->registrations[0].name, panel->registrations[0].sender);
}

TEST_F(StatusNotifierItemTest, givesItsNameBackWhenItIsGone) {
    start();
    item.reset();
    EXPECT_TRUE(runUntil(queue, [&] { return !panel->sees(name); }));
}

TEST_F(StatusNotifierItemTest, introducesItselfAsAMenu) {
    start();
    EXPECT_EQ(panel->textProperty(name, "Category"), "ApplicationStatus");
    EXPECT_EQ(panel->textProperty(name, "Id"), "quorvel");
    EXPECT_EQ(panel->textProperty(name, "Title"), "Quorvel");
    EXPECT_EQ(panel->textProperty(name, "Status"), "Active");
    const auto isMenu = panel->property(name, "org.kde.StatusNotifierItem", "ItemIsMenu");
    int value = 0;
    require(sd_bus_message_read(isMenu.get(), "v", "b", &value));
    EXPECT_EQ(value, 1);
    const auto menuPath = panel->property(name, "org.kde.StatusNotifierItem", "Menu");
    const char* path = nullptr;
    require(sd_bus_message_read(menuPath.get(), "v", "o", &path));
    EXPECT_STREQ(path, "/MenuBar");
    const auto all = panel->call(name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
                                 "s", "org.kde.StatusNotifierItem");
    EXPECT_FALSE(sd_bus_message_is_method_error(all.get(), nullptr));
}

/// A panel recolours by the name, and only a name that can be found replaces the pixels.
TEST_F(StatusNotifierItemTest, namesTheIconWhereItMayAndSendsPixelsWhereItMust) {
    icons.write("icons/hicolor/symbolic/apps/here-symbolic.svg", "<svg/>");
    icons.write("icons/hicolor/48x48/status/here.png", "");
    start();
    struct Row {
        const char* themeName;
        bool isTemplate;
        const char* expectedName;
        std::size_t expectedPixmaps;
    };
    const Row rows[] = {
        {"here-symbolic", true, "here-symbolic", 0},
        {"here", true, "here-symbolic", 0},
        {"here", false, "here", 0},
        {"here-symbolic", false, "", 1},
        {"nowhere", true, "nowhere-symbolic", 1},
        {"nowhere", false, "nowhere", 1},
        {"", true, "", 1},
        {"", false, "", 1},
    };
    for (const auto& [themeName, isTemplate, expectedName, expectedPixmaps] : rows) {
        item->setImage({.themeName = themeName,
                        .bitmaps = {{.width = 1, .height = 1, .rgba = {1, 2, 3, 4}}},
                        .size = 24,
                        .isTemplate = isTemplate});
        EXPECT_EQ(panel->textProperty(name, "IconName"), expectedName) << themeName << isTemplate;
        EXPECT_EQ(pixmaps().size(), expectedPixmaps) << themeName << isTemplate;
    }
}

TEST_F(StatusNotifierItemTest, sendsPixelsAsArgbInNetworkOrder) {
    start();
    const Bitmap cutShort{.width = 2, .height = 2, .rgba = {1, 2, 3, 4}};
    const Bitmap wide{.width = 2, .height = 1, .rgba = {1, 2, 3, 4, 250, 251, 252, 253}};
    item->setImage({.themeName = "", .bitmaps = {cutShort, wide, {}}, .size = 24});
    EXPECT_EQ(pixmaps(), (std::vector<Pixmap>{{2, 1, {4, 1, 2, 3, 253, 250, 251, 252}}}));
}

TEST_F(StatusNotifierItemTest, tellsOfAnImageOrAToolTipOnlyWhenItChanges) {
    start();
    const Image first{.themeName = "", .bitmaps = {{1, 1, {0, 0, 0, 0}}}, .size = 24};
    const Image second{.themeName = "", .bitmaps = {{1, 1, {9, 0, 0, 0}}}, .size = 24};
    for (const auto* image : {&first, &first, &second, &second, &first})
        item->setImage(*image);
    for (const char* text : {"Quorvel", "Quorvel", "a\nb\uFFFE"})
        item->setToolTip(text);
    EXPECT_EQ(toolTip(), "a b");
    EXPECT_EQ(panel->signals, (std::map<std::string, int>{{"NewIcon", 3}, {"NewToolTip", 2}}));
}

TEST_F(StatusNotifierItemTest, handsOnWhatAPanelGivesBeforeTheChoiceThatItIsFor) {
    panel->come();
    std::vector<std::string> happened;
    StatusNotifierBar hearing(bus, nullptr, [&](const std::string& token) { happened.push_back(token); });
    item = hearing.makeStatusItem();
    ASSERT_TRUE(registered(1));
    const auto target = std::make_shared<CountingTarget>();
    target->andThen = [&] { happened.push_back("chosen"); };
    item->setMenu(menuOf({actionItem("a", target)}));
    const auto chosen = panel->menu(name).root.named("a").id;
    panel->call(name, "/StatusNotifierItem", "org.kde.StatusNotifierItem", "ProvideXdgActivationToken", "s",
                "token");
    EXPECT_TRUE(panel->click(name, chosen));
    ASSERT_TRUE(runUntil(queue, [&] { return happened.size() >= 2; }));
    EXPECT_EQ(happened, (std::vector<std::string>{"token", "chosen"}));
}

void useAll(StatusItem& item) {
    item.setImage({.themeName = "q", .bitmaps = {{1, 1, {0, 0, 0, 0}}}, .size = 24});
    item.setToolTip("Quorvel");
    item.setMenu(menuOf({actionItem("a")}));
}

TEST_F(StatusNotifierItemTest, staysUsableWhenTheBusIsLost) {
    start();
    int lost = 0;
    bus.onLost([&] { ++lost; });
    daemon.end();
    ASSERT_TRUE(runUntil(queue, [&] { return lost > 0; }));
    EXPECT_EQ(bus.connection(), nullptr);
    useAll(*item);
    // Neither end of the lost connection keeps the loop busy.
    int turns = 0;
    while (turns < 100 && sd_event_run(queue.event(), 0) > 0)
        ++turns;
    EXPECT_LT(turns, 100);
    EXPECT_EQ(lost, 1);
    item = bar.makeStatusItem();
    useAll(*item);
}

TEST(SessionBus, saysPlainlyThatThereIsNoBusAndLetsTheProgramGoOn) {
    struct Row {
        const char* address;
        const char* expected;
    };
    const Row rows[] = {
        {nullptr, "There is no session bus: neither DBUS_SESSION_BUS_ADDRESS nor XDG_RUNTIME_DIR is set."},
        {"unix:path=/nonexistent/bus",
         "Could not reach the session bus at unix:path=/nonexistent/bus: No such file or directory."},
    };
    unsetenv("XDG_RUNTIME_DIR");
    for (const auto& [address, expected] : rows) {
        address ? setenv("DBUS_SESSION_BUS_ADDRESS", address, 1) : unsetenv("DBUS_SESSION_BUS_ADDRESS");
        EventQueue queue;
        SessionBus bus(queue);
        const auto connected = bus.connect();
        ASSERT_FALSE(connected);
        EXPECT_EQ(connected.error(), expected);
        StatusNotifierBar bar(bus);
        const auto item = bar.makeStatusItem();
        useAll(*item);
        EXPECT_EQ(sd_event_run(queue.event(), 0), 0);
    }
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
}

}  // namespace
}  // namespace quorvel
