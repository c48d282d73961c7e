#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>

#include "entry/linux/DesktopProgramFixture.h"
#include "entry/linux/VirtualDesktop.h"
#include "support/PrivateBus.h"

namespace quorvel {
namespace {

constexpr const char* watcher = "org.kde.StatusNotifierWatcher";

/// On a virtual display with a real panel, real windows and a real pasteboard.
class RealDesktopTest : public DesktopProgramFixture {
protected:
    void SetUp() override {
        if (!desktop.reasonToSkip().empty()) GTEST_SKIP() << desktop.reasonToSkip();
        watchSession();
        startCatalog();
    }

    /// The window's number once it can be seen.
    std::string window(const std::string& title) {
        std::string number;
        EXPECT_TRUE(comesTrue([&] { return !(number = VirtualDesktop::windowNamed(title)).empty(); }))
            << title;
        return number;
    }
    /// By itself, in order, and soon; what it wrote to standard error.
    std::string expectProgramToEnd() {
        const auto before = std::chrono::steady_clock::now();
        const auto result = program->finish();
        EXPECT_EQ(result.status, 0);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
        return result.errors;
    }

    std::ptrdiff_t manualChecks() const {
        return std::ranges::count(recordedMessages(), "instance_running trigger=manual apps=35 updates=15");
    }

    VirtualDesktop desktop;
};

TEST_F(RealDesktopTest, aTrayShowsTheItemUntilAPanelDoesAndEachOpensItsMenu) {
    auto tray = VirtualDesktop::startTray();
    start();
    menuWith(found);
    ASSERT_TRUE(comesTrue([] { return VirtualDesktop::lookOfIcon("%[fx:maxima]") == "1"; }))
        << "a template is white on a dark tray";
    VirtualDesktop::click(13, 13);
    window("Quorvel");
    VirtualDesktop::press({"Up", "Up", "Return"});
    VirtualDesktop::press({"Escape"}, window("About Quorvel"));

    Process monitor({"/usr/bin/env", "dbus-monitor", "--session", "member=GetGroupProperties"});
    const auto monitorShows = [&](const char* word) {
        std::string line;
        do
            line = monitor.readLine();
        while (!line.empty() && !line.contains(word));
        return !line.empty();
    };
    ASSERT_TRUE(monitorShows("NameLost")) << "from here on it listens";
    const auto xfcePanel = desktop.startPanel();
    ASSERT_TRUE(comesTrue([&] { return panel->sees(watcher) && VirtualDesktop::paintedWindow().empty(); }));
    tray.reset();
    // The panel has the items by now, and asks for their properties.
    ASSERT_TRUE(monitorShows("GetGroupProperties"));
    // Whatever else it asks meanwhile has been answered when both have answered later questions.
    for (int turn = 0; turn < 4; ++turn) {
        panel->menu(item);
        panel->call(watcher, "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties", "Get", "ss",
                    watcher, "RegisteredStatusNotifierItems");
    }
    ASSERT_TRUE(comesTrue([] { return VirtualDesktop::lookOfIcon("%k") > "1"; }));
    VirtualDesktop::click(13, 13);
    // The one beside the panel's own.
    ASSERT_TRUE(comesTrue([] {
        return std::ranges::count(
                   run({"xdotool", "search", "--onlyvisible", "--class", "wrapper-2.0"}).output, '\n') > 1;
    }));
    VirtualDesktop::press({"Down", "Return"});
    EXPECT_TRUE(comesTrue([&] { return manualChecks() == 1; }));
}

/// A compositor closes at once what claims to be the menu of a window that had a key some time ago.
TEST_F(RealDesktopTest, aSecondStartPopsUpTheMenuBesideAWindowOnWaylandOrDoesWhatItIsTold) {
    const auto compositor = desktop.startCompositor(folder);
    ASSERT_TRUE(comesTrue([&] { return exists(folder.path / "wayland-test"); }));
    start();
    menuWith(found);
    EXPECT_EQ(statusOfSecondStart({"--action", "about"}), 0);
    // The toolkit's own colours of windows and menus.
    constexpr auto shows = VirtualDesktop::shows;
    constexpr const char *window = "#efefef", *menu = "#ffffff";
    ASSERT_TRUE(comesTrue([&] { return shows(window); }));
    VirtualDesktop::press({"shift"});
    EXPECT_EQ(statusOfSecondStart(), 0);
    ASSERT_TRUE(comesTrue([&] { return shows(menu); }));
    VirtualDesktop::press({"Down", "Return"});
    EXPECT_TRUE(comesTrue([&] { return manualChecks() == 1 && !shows(menu); }));
    EXPECT_EQ(statusOfSecondStart({"--action", "quit"}), 0);
    expectProgramToEnd();
}

/// What a logout takes away; nobody signals the program.
TEST_F(RealDesktopTest, itEndsWithItsSessionAndTheNextLoginHasIt) {
    auto session = std::make_unique<PrivateBus>();
    watchSession();
    start();
    menuWith(found);
    choose("About");
    window("About Quorvel");
    session->end();
    expectProgramToEnd();
    EXPECT_TRUE(comesTrue([] { return VirtualDesktop::windowNamed("About Quorvel").empty(); }));

    session.reset();
    session = std::make_unique<PrivateBus>();
    watchSession();
    start();
    menuWith(found);
    program->signal(SIGTERM);
    expectProgramToEnd();

    // Without a bus, the display is the session.
    session.reset();
    const ScopedVariable noBus("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere");
    const auto tray = VirtualDesktop::startTray();
    program = std::make_unique<Process>(command());
    ASSERT_TRUE(comesTrue([&] {
        return !VirtualDesktop::paintedWindow().empty() && log().contains("Launch check completed");
    }));
    desktop.endDisplay();
    const auto errors = expectProgramToEnd();
    EXPECT_TRUE(errors.starts_with("quorvel: There is no session bus, so no panel shows the status item: "))
        << errors;
}

TEST_F(RealDesktopTest, anUncaughtExceptionIsLoggedReportedAndShownInAnAlert) {
    // AddressSanitizer insists on being loaded first.
    start({"/usr/bin/env", "LD_PRELOAD=" THROWING_SYNC, "ASAN_OPTIONS=verify_asan_link_order=0",
           "QUORVEL_TEST_THROWS_ONCE=" + (folder.path / "throw").string()});
    menuWith(found);
    folder.write("throw", "");
    choose("Color Icon");
    const auto alert = window("Quorvel");
    EXPECT_EQ(std::ranges::count(log(), '\n'), 1) << log();
    EXPECT_TRUE(log().ends_with("] std::runtime_error: The disk is gone.\n")) << log();
    EXPECT_TRUE(
        comesTrue([&] { return recordedMessages().back() == "std::runtime_error: The disk is gone."; }));
    VirtualDesktop::press({"Return"}, alert);
    EXPECT_EQ(program->finish().status, 1);
}

}  // namespace
}  // namespace quorvel
