#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <iterator>

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
        if (!daemon.reasonToSkip().empty()) GTEST_SKIP() << daemon.reasonToSkip();
        watchSession();
        startCatalog();
    }

    PrivateBus daemon;
};

TEST_F(DesktopProgramTest, firstLaunchRegistersChecksAndFillsTheMenu) {
    panel->come();
    start();
    const auto menu = menuWith("New Versions Available (15)");
    const auto& updates = menu.root.named("New Versions Available (15)");
    ASSERT_EQ(updates.children.size(), 15U);
    EXPECT_EQ(updates.children.front().properties.at("label"), "Amberleaf (3.1.0 → 3.2.1)");
    for (const char* label : {"Check for Updates", "Settings", "Try Orbisto Hub app", "Go to Orbisto Website",
                              "Feedback", "About", "Quit"}) {
        EXPECT_NE(menu.root.named(label).id, -1) << label;
    }
    // Those after the first may overtake each other on their way.
    ASSERT_TRUE(comesTrue([&] { return recordedMessages().size() >= 5; }));
    auto messages = recordedMessages();
    std::sort(messages.begin() + 1, messages.end());
    EXPECT_EQ(messages, (std::vector<std::string>{"/v1/qvl/instance", "/v1/apps/auto-match-collection",
                                                  "/v1/event/app/64734/install", "first_install",
                                                  "instance_running trigger=launch apps=35 updates=15"}));
    EXPECT_TRUE(log().contains("] Launch check completed in "));
}

TEST_F(DesktopProgramTest, anIgnoredVersionLeavesTheMenuAndStaysAwayAfterARestart) {
    panel->come();
    start();
    const auto menu = menuWith("New Versions Available (15)");
    const auto& update = menu.root.named("Amberleaf (3.1.0 → 3.2.1)");
    ASSERT_TRUE(choose(update.named("Ignore This Version")));
    menuWith("New Versions Available (14)");
    EXPECT_EQ(folder.read("storage/ignored_versions.json"),
              R"({"com.example.amberleaf":{"appName":"Amberleaf","version":"3.2.1"}})");

    ASSERT_TRUE(choose(panel->menu(item).root.named("Quit")));
    EXPECT_EQ(program->finish().status, 0);
    start();
    menuWith("New Versions Available (14)");
}

TEST_F(DesktopProgramTest, thePanelMayComeLateAndGoAndComeAgain) {
    program = std::make_unique<Process>(command());
    // The program owns its name on the bus before any panel is there.
    ASSERT_TRUE(runUntil(queue, [&] { return panel->sees("com.ob.quorvel"); }));
    panel->come();
    ASSERT_TRUE(waitForRegistration(1));
    menuWith("New Versions Available (15)");
    panel->leave();
    panel->come();
    ASSERT_TRUE(waitForRegistration(2));
    menuWith("New Versions Available (15)");
}

TEST_F(DesktopProgramTest, aSecondStartLeavesTheFirstAloneAndAsksIt) {
    panel->come();
    start();
    menuWith("New Versions Available (15)");
    EXPECT_EQ(Process(command()).finish().status, 0);
    // What anybody registered before this answer has come before it.
    menuWith("New Versions Available (15)");
    EXPECT_EQ(panel->registrations.size(), 1U);

    EXPECT_EQ(Process(commandWith({"--action", "quit"})).finish().status, 0);
    EXPECT_EQ(program->finish().status, 0);
}

TEST_F(DesktopProgramTest, aSettingIsCheckedInTheMenuAndInItsFile) {
    panel->come();
    // A start at login has another working directory than this one.
    auto words = command();
    words.back() = "storage";
    words.insert(words.begin(), {"/usr/bin/env", "-C", folder.path.string()});
    program = std::make_unique<Process>(words);
    ASSERT_TRUE(waitForRegistration(1));
    const auto menu = menuWith("New Versions Available (15)");
    const auto& entry = menu.root.named("Open at Login");
    EXPECT_EQ(entry.properties.at("toggle-state"), "0");
    const auto seen = panel->layoutUpdates.size();
    ASSERT_TRUE(choose(entry));
    ASSERT_TRUE(runUntil(queue, [&] { return panel->layoutUpdates.size() > seen; }));
    EXPECT_EQ(panel->menu(item).root.named("Open at Login").properties.at("toggle-state"), "1");
    EXPECT_EQ(folder.read("storage/settings.json"), R"({"openAtLogin":true,"colorIcon":false})");
    std::string started;
    for (const auto& word : command())
        started += (started.empty() ? "\"" : " \"") + word + '"';
    const auto autostart = folder.read("autostart/com.ob.quorvel.desktop");
    EXPECT_TRUE(autostart.ends_with("\nExec=" + started + "\n")) << autostart;
}

TEST_F(DesktopProgramTest, saysWhyAndChecksOnWithoutASessionBus) {
    daemon.end();
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    // With the catalog of the environment.
    setenv("QUORVEL_CATALOG_URL", url.c_str(), 1);
    Process alone({PROGRAM_FOLDER "/quorvel", "--system-root", SOURCE_ROOT "/demo/system", "--data-dir",
                   (folder.path / "storage").string()});
    unsetenv("QUORVEL_CATALOG_URL");
    // The log tells that the check ran to its end; a signal then ends the program.
    ASSERT_TRUE(comesTrue([&] { return log().contains("Launch check completed"); }));
    EXPECT_TRUE(log().contains("Updates: 15")) << log();
    alone.signal(SIGTERM);
    const auto result = alone.finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(
        result.errors.starts_with("quorvel: There is no session bus, so no panel shows the status item:"))
        << result.errors;
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
}

TEST_F(DesktopProgramTest, refusesWrongUsageWithAReason) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{"--actoin", "about"}, "There is no option --actoin. Did you mean --action?"},
        {{"--action", "dance"}, "There is no action dance; --help lists them."},
        {{"--catalog", "ftp://catalog.example/"},
         "--catalog: ftp://catalog.example/ is no https or http address."},
        {{"--", "--help"}, "There is no use for the word --help."},
    };
    for (const auto& [options, expected] : rows) {
        const auto result = Process(commandWith(options)).finish();
        EXPECT_EQ(result.status, 2) << expected;
        EXPECT_EQ(result.errors, std::string("quorvel: ") + expected + " Try 'quorvel --help'.\n");
    }
}

TEST_F(DesktopProgramTest, aCatalogThatFailsIsNamedInTheMenuUntilItWorksAgain) {
    panel->come();
    start();
    menuWith("New Versions Available (15)");
    endCatalog();
    ASSERT_TRUE(choose("Check for Updates"));
    const auto menu = menuWith("Last check failed");
    EXPECT_TRUE(menu.root.has("New Versions Available (15)")) << "what was found before is still true";
    EXPECT_EQ(std::ranges::count(log(), '\n'), 1) << log();

    restartCatalog({"--scenario", "blocked"});
    ASSERT_TRUE(choose("Check for Updates"));
    ASSERT_TRUE(comesTrue([&] { return log().contains("blocked"); })) << log();
    menuWith("Last check failed");

    restartCatalog();
    ASSERT_TRUE(choose("Check for Updates"));
    ASSERT_TRUE(comesTrue([&] { return !panel->menu(item).root.has("Last check failed"); }));
    menuWith("New Versions Available (15)");
}

TEST_F(DesktopProgramTest, updatesCarryTheIconsOfTheirApplications) {
    panel->come();
    start();
    const auto menu = menuWith("New Versions Available (15)");
    const auto generic = std::to_string(MenuLayout::genericIcon().size()) + " bytes";
    const auto iconOf = [](const ShownMenu& some, const char* label) {
        return some.root.named(label).properties.at("icon-data");
    };
    const char* const withIcon = "Cobblestone (1.8 → 1.9)";
    ASSERT_TRUE(comesTrue([&] { return iconOf(panel->menu(item), withIcon) != generic; }));
    EXPECT_EQ(iconOf(panel->menu(item), "Driftmark (418 → 431)"), generic) << "it has none";
    EXPECT_EQ(panel->menu(item).revision, menu.revision) << "icons are no new menu";
    EXPECT_FALSE(panel->menu(item).root.named("About").properties.contains("icon-data"));
}

/// What a process holds, by /proc.
struct Holdings {
    explicit Holdings(pid_t process) {
        const auto folder = "/proc/" + std::to_string(process);
        descriptors = count(folder + "/fd");
        threads = count(folder + "/task");
        std::ifstream status(folder + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("RssAnon:")) privateKilobytes = std::stol(line.substr(8));
        }
    }

    std::ptrdiff_t descriptors, threads;
    long privateKilobytes = 0;

private:
    static std::ptrdiff_t count(const std::string& folder) {
        return std::distance(std::filesystem::directory_iterator(folder), {});
    }
};

TEST_F(DesktopProgramTest, aThousandChecksLeaveNothingBehind) {
    panel->come();
    start();
    menuWith("New Versions Available (15)");
    const auto check = [&] {
        const auto seen = panel->layoutUpdates.size();
        ASSERT_TRUE(choose(panel->menu(item).root.named("Check for Updates")));
        // A menu when the check starts, another when it has ended.
        ASSERT_TRUE(runUntil(queue, [&] { return panel->layoutUpdates.size() >= seen + 2; }));
    };
    const auto reported = [&] {
        return std::ranges::count(recordedMessages(), "instance_running trigger=manual apps=35 updates=15");
    };
    for (int number = 0; number < 100; ++number)
        check();
    ASSERT_TRUE(comesTrue([&] { return reported() == 100; }));
    const Holdings before(program->id());
    for (int number = 100; number < 1000 && !HasFailure(); ++number)
        check();
    ASSERT_TRUE(comesTrue([&] { return reported() == 1000; }));
    // The last answer may still be under way, and one connection is kept open for a while.
    EXPECT_TRUE(comesTrue([&] { return Holdings(program->id()).descriptors <= before.descriptors + 1; }));
    const Holdings after(program->id());
    EXPECT_EQ(after.threads, before.threads);
#ifndef __SANITIZE_ADDRESS__  // which keeps what was freed
    // The heap settles within two thousand checks, some 180 kB higher.
    EXPECT_LE(after.privateKilobytes, before.privateKilobytes + 256);
#endif
    std::cout << before.privateKilobytes << " kB of its own before, " << after.privateKilobytes << " after\n";
}

/// In a network of its own, in which a pair of cables is the way out.
class DesktopProgramNetworkTest : public DesktopProgramTest {
protected:
    void SetUp() override {
        if (!network.reasonToSkip().empty()) GTEST_SKIP() << network.reasonToSkip();
        NetworkNamespace::ip("link set lo up\nlink add way type veth peer name out\n");
        DesktopProgramTest::SetUp();
    }

    static void connect() {
        NetworkNamespace::ip(
            "link set way up\nlink set out up\naddress replace 192.0.2.1/24 dev way\n"
            "route add default via 192.0.2.2\n");
    }
    static void disconnect() { NetworkNamespace::ip("link set out down\nlink set way down\n"); }

    /// By an address that leads to this machine too, but does not say so.
    std::vector<std::string> command() const override {
        auto words = DesktopProgramTest::command();
        words[4].replace(words[4].find("127.0.0.1"), std::string("127.0.0.1").size(), "0.0.0.0");
        return words;
    }

    NetworkNamespace network;
};

TEST_F(DesktopProgramNetworkTest, aLaunchWithoutANetworkSaysSoAndRecoversWithIt) {
    panel->come();
    start();
    const auto menu = menuWith("No internet connection.");
    EXPECT_TRUE(menu.root.has("Last check failed"));
    EXPECT_TRUE(recordedMessages().empty());
    connect();
    menuWith("New Versions Available (15)");
    EXPECT_FALSE(log().contains("No internet connection.")) << "the retry starts the log afresh";
}

TEST_F(DesktopProgramNetworkTest, aLostConnectionFailsTheNextCheckAndItsReturnRepeatsIt) {
    using std::chrono::steady_clock;
    connect();
    panel->come();
    start();
    const auto started = steady_clock::now();
    menuWith("New Versions Available (15)");
    EXPECT_FALSE(log().contains("No internet connection."));
    disconnect();
    ASSERT_TRUE(comesTrue([&] {
        choose("Check for Updates");
        return panel->menu(item).root.has("No internet connection.");
    }));
    connect();
    ASSERT_TRUE(comesTrue([&] { return !panel->menu(item).root.has("Last check failed"); }));
    const auto launchesReported = [&] {
        return std::ranges::count(recordedMessages(), "instance_running trigger=launch apps=35 updates=15");
    };
    ASSERT_TRUE(comesTrue([&] { return launchesReported() == 2; }));

    // Launching waits a second for the first path report, and not again when that has come.
    ASSERT_TRUE(comesTrue([&] { return steady_clock::now() > started + std::chrono::milliseconds(1500); }));
    menuWith("New Versions Available (15)");
    EXPECT_EQ(panel->registrations.size(), 1U);
}

}  // namespace
}  // namespace quorvel
