#include <algorithm>
#include <gtest/gtest.h>

#include "entry/linux/DesktopProgramFixture.h"
#include "platform/linux/network/NetworkNamespace.h"
#include "platform/linux/statusitem/MenuLayout.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

/// On a session bus of its own, with a panel that the test plays.
class DesktopProgramTest : public DesktopProgramFixture {
protected:
    void SetUp() override {
        watchSession();
        panel->come();
    }

    bool hasOwnIcon(const ShownItem& update) const {
        return update.properties.at("icon-data") !=
               std::to_string(MenuLayout::genericIcon().size()) + " bytes";
    }

    PrivateBus daemon;
};

TEST_F(DesktopProgramTest, fillsTheMenuAtItsFirstLaunchAndKeepsWhatIsChosenThere) {
    const auto opener = folder.write("bin/xdg-open", "#!/bin/sh\nprintf '%s|' \"$@\" >>\"$HOME/opened\"\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    environment.emplace_back("PATH", opener.parent_path().string() + ":/usr/bin:/bin");
    startCatalog();
    start();
    const auto menu = menuWith(found);
    const auto& updates = menu.named(found).children;
    ASSERT_EQ(updates.size(), 15U);
    EXPECT_EQ(updates.front().properties.at("label"), "Amberleaf (3.1.0 → 3.2.1)");
    EXPECT_TRUE(comesTrue([&] { return hasOwnIcon(panel->menu(item).named("Cobblestone (1.8 → 1.9)")); }));
    EXPECT_FALSE(hasOwnIcon(panel->menu(item).named("Driftmark (418 → 431)"))) << "it has none";
    // Those after the first may overtake each other on their way.
    ASSERT_TRUE(comesTrue([&] { return recordedMessages().size() >= 5; }));
    auto messages = recordedMessages();
    std::sort(messages.begin() + 1, messages.end());
    EXPECT_EQ(messages,
              (Words{"/v1/qvl/instance", "/v1/apps/auto-match-collection", "/v1/event/app/64734/install",
                     "first_install", "instance_running trigger=launch apps=35 updates=15"}));
    EXPECT_TRUE(log().contains("] Launch check completed in "));

    choose(updates.front().named("Open App Page"));
    EXPECT_TRUE(
        comesTrue([&] { return folder.read("opened").starts_with("https://www.orbisto.example/app/mac/"); }));
    choose(updates.front().named("Ignore This Version"));
    menuWith("New Versions Available (14)");
    choose("Open at Login");
    const auto opensAtLogin = [](const ShownItem& root) {
        return root.named("Open at Login").properties.at("toggle-state") == "1";
    };
    menuWhere(opensAtLogin);
    const auto autostart = folder.read("autostart/com.ob.quorvel.desktop");
    EXPECT_TRUE(autostart.ends_with("\nExec=\"" PROGRAM_FOLDER "/quorvel\" \"--system-root\" \"" SOURCE_ROOT
                                    "/demo/system\" \"--catalog\" \"" +
                                    url + "\" \"--data-dir\" \"" + (folder.path / "storage").string() +
                                    "\"\n"))
        << autostart;
    choose("Quit");
    EXPECT_EQ(program->finish().status, 0);

    start();
    EXPECT_TRUE(opensAtLogin(menuWith("New Versions Available (14)")));
    EXPECT_EQ(panel->registrations.size(), 2U);
}

/// In a network of its own, in which a pair of cables is the way out.
class OfflineProgramTest : public DesktopProgramTest {
protected:
    void SetUp() override {
        if (!network.reasonToSkip().empty()) GTEST_SKIP() << network.reasonToSkip();
        NetworkNamespace::ip("link set lo up\nlink add way type veth peer name out\n");
        DesktopProgramTest::SetUp();
    }

    NetworkNamespace network;
};

TEST_F(OfflineProgramTest, saysThatThereIsNoNetworkAndChecksWhenItComes) {
    startCatalog();
    // An address that leads to this machine too, but does not say so.
    url.replace(url.find("127.0.0.1"), std::string("127.0.0.1").size(), "0.0.0.0");
    start();
    EXPECT_TRUE(menuWith("No internet connection.").has("Last check failed"));
    EXPECT_TRUE(recordedMessages().empty());
    NetworkNamespace::ip(
        "link set way up\nlink set out up\naddress replace 192.0.2.1/24 dev way\n"
        "route add default via 192.0.2.2\n");
    EXPECT_FALSE(menuWith(found).has("Last check failed"));
    EXPECT_FALSE(log().contains("No internet connection.")) << "the retry starts the log afresh";
}

}  // namespace
}  // namespace quorvel
