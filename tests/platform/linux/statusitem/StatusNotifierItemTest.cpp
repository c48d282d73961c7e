#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include "platform/linux/statusitem/MenuSamples.h"
#include "platform/linux/statusitem/StatusItemFixture.h"

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

/// Panels log an error for each property that is missing, and one of another type is none.
TEST_F(StatusNotifierItemTest, answersEveryPropertyOfTheInterface) {
    start();
    item->setToolTip("tip");
    const auto all = panel->call(name, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "GetAll",
                                 "s", "org.kde.StatusNotifierItem");
    std::map<std::string, std::string> found;
    require(sd_bus_message_enter_container(all.get(), 'a', "{sv}"));
    while (require(sd_bus_message_enter_container(all.get(), 'e', "sv")) > 0) {
        const char *key = nullptr, *type = nullptr, *text = nullptr;
        int number = 0;
        require(sd_bus_message_read(all.get(), "s", &key));
        require(sd_bus_message_peek_type(all.get(), nullptr, &type));
        const std::string signature = type;
        if (signature == "s" || signature == "o") {
            require(sd_bus_message_read(all.get(), "v", type, &text));
            found[key] = signature + " " + text;
        } else if (signature == "i" || signature == "b") {
            require(sd_bus_message_read(all.get(), "v", type, &number));
            found[key] = signature + " " + std::to_string(number);
        } else {
            require(sd_bus_message_skip(all.get(), "v"));
            found[key] = signature;
        }
        require(sd_bus_message_exit_container(all.get()));
    }
    const std::map<std::string, std::string> expected{
        {"Category", "s ApplicationStatus"},
        {"Id", "s quorvel"},
        {"Title", "s Quorvel"},
        {"Status", "s Active"},
        {"WindowId", "i 0"},
        {"IconThemePath", "s "},
        {"IconName", "s "},
        {"IconPixmap", "a(iiay)"},
        {"IconAccessibleDesc", "s Quorvel"},
        {"OverlayIconName", "s "},
        {"OverlayIconPixmap", "a(iiay)"},
        {"AttentionIconName", "s "},
        {"AttentionIconPixmap", "a(iiay)"},
        {"AttentionMovieName", "s "},
        {"AttentionAccessibleDesc", "s "},
        {"ToolTip", "(sa(iiay)ss)"},
        {"ItemIsMenu", "b 1"},
        {"Menu", "o /MenuBar"},
    };
    EXPECT_EQ(found, expected);
}

/// A panel recolours by the name; one that it cannot find is drawn as nothing by some, whatever pixels are
/// there.
TEST_F(StatusNotifierItemTest, namesTheIconOnlyWhereItIsFound) {
    TemporaryFolder more;
    setenv("XDG_DATA_DIRS", ("relative:" + more.path.string()).c_str(), 1);
    icons.write("icons/hicolor/symbolic/apps/here-symbolic.svg", "<svg/>");
    more.write("icons/hicolor/scalable/apps/here.svg", "<svg/>");
    start();
    const struct {
        const char* themeName;
        bool isTemplate;
        std::string name, path;
    } rows[] = {
        {"here", true, "here-symbolic", icons.path / "icons"},
        {"here", false, "here", more.path / "icons"},
        {"nowhere", true, "", ""},
        {"nowhere", false, "", ""},
        {"", false, "", ""},
    };
    for (const auto& row : rows) {
        item->setImage({.themeName = row.themeName, .bitmaps = {}, .size = 24, .isTemplate = row.isTemplate});
        EXPECT_EQ(panel->textProperty(name, "IconName"), row.name) << row.themeName << row.isTemplate;
        EXPECT_EQ(panel->textProperty(name, "IconThemePath"), row.path) << row.themeName << row.isTemplate;
    }
}

TEST_F(StatusNotifierItemTest, sendsPixelsAsArgbInNetworkOrderAndATemplateInGrey) {
    icons.write("icons/hicolor/scalable/apps/here.svg", "<svg/>");
    start();
    const Bitmap cutShort{.width = 2, .height = 2, .rgba = {1, 2, 3, 4}};
    const Bitmap wide{.width = 2, .height = 1, .rgba = {1, 2, 3, 4, 250, 251, 252, 253}};
    Image image{.themeName = "here", .bitmaps = {cutShort, wide, {}}, .size = 24};
    item->setImage(image);
    EXPECT_EQ(pixmaps(), (std::vector<Pixmap>{{2, 1, {4, 1, 2, 3, 253, 250, 251, 252}}}));
    image.isTemplate = true;
    item->setImage(image);
    EXPECT_EQ(pixmaps(), (std::vector<Pixmap>{{2, 1, {4, 128, 128, 128, 253, 128, 128, 128}}}));
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
