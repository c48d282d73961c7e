#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
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
    }

    void startBelowPanel() {
        xfcePanel = desktop.startPanel();
        ASSERT_TRUE(comesTrue([&] { return panel->sees(watcher); }));
        startProgram();
    }

    void startProgram() {
        program = std::make_unique<Process>(command());
        item = "com.ob.quorvel";
        ASSERT_TRUE(comesTrue([&] { return panel->property(item, "Id") == "quorvel"; }));
    }

    /// The window's number once it can be seen.
    std::string window(const std::string& title) {
        std::string number;
        EXPECT_TRUE(comesTrue([&] { return !(number = VirtualDesktop::windowNamed(title)).empty(); }))
            << title;
        return number;
    }

    bool closes(const std::string& title) {
        return comesTrue([&] { return VirtualDesktop::windowNamed(title).empty(); });
    }

    /// By itself, in order, and soon.
    void expectProgramToEnd() {
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(program->finish().status, 0);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    }

    static void press(const std::string& window, const std::string& key) {
        VirtualDesktop::run({"xdotool", "windowfocus", "--sync", window, "key", key});
    }

    /// The painter that the program has started.
    pid_t painter() const { return VirtualDesktop::childOf(program->id(), "quorvel-painter"); }

    std::size_t checksAsked() const {
        return static_cast<std::size_t>(
            std::ranges::count(recordedMessages(), "/v1/apps/auto-match-collection"));
    }

    VirtualDesktop desktop;
    std::unique_ptr<Process> xfcePanel;
};

TEST_F(RealDesktopTest, aClickOnTheIconAndOneInItsMenuCheckAgain) {
    startCatalog();
    startBelowPanel();
    menuWith("New Versions Available (15)");
    ASSERT_TRUE(comesTrue(&VirtualDesktop::showsIcon));
    VirtualDesktop::click(13, 13);
    ASSERT_TRUE(comesTrue(&VirtualDesktop::showsPanelMenu));
    VirtualDesktop::click(90, 42);
    ASSERT_TRUE(comesTrue([&] {
        return std::ranges::count(recordedMessages(), "instance_running trigger=manual apps=35 updates=15") ==
               1;
    }));
    menuWith("New Versions Available (15)");
}

TEST_F(RealDesktopTest, theItemIsHostedAgainAfterAPanelsRestart) {
    startCatalog();
    startBelowPanel();
    ASSERT_TRUE(comesTrue(&VirtualDesktop::showsIcon));
    xfcePanel.reset();
    ASSERT_TRUE(comesTrue([&] { return !panel->sees(watcher); }));
    xfcePanel = desktop.startPanel();
    ASSERT_TRUE(comesTrue(&VirtualDesktop::showsIcon));
    menuWith("New Versions Available (15)");
}

TEST_F(RealDesktopTest, anAlertTellsOfTheCheckThatRunsAndASignalEndsBothAtOnce) {
    startCatalog();
    startProgram();
    menuWith("New Versions Available (15)");
    restartCatalog({"--scenario", "slow", "--pause-ms", "60000"});
    ASSERT_TRUE(choose("Check for Updates"));
    ASSERT_TRUE(comesTrue([&] { return checksAsked() == 2; }));
    for (int time = 0; time < 3; ++time)
        ASSERT_TRUE(choose("Check for Updates"));
    window("Quorvel");
    ASSERT_TRUE(choose("About"));
    window("About Quorvel");  // whose painter has been told of every alert before
    EXPECT_EQ(VirtualDesktop::windowsNamed("Quorvel"), 1);
    program->signal(SIGTERM);
    expectProgramToEnd();
    EXPECT_TRUE(closes("Quorvel"));
}

/// What a logout takes away; nobody signals the program.
TEST_F(RealDesktopTest, itEndsWithItsSessionsBusAndTheNextLoginHasIt) {
    startCatalog();
    auto session = std::make_unique<PrivateBus>();
    watchSession();
    startProgram();
    menuWith("New Versions Available (15)");
    ASSERT_TRUE(choose("About"));
    window("About Quorvel");
    session->end();
    expectProgramToEnd();
    EXPECT_TRUE(closes("About Quorvel"));

    session.reset();
    session = std::make_unique<PrivateBus>();
    watchSession();
    startProgram();
    menuWith("New Versions Available (15)");
}

TEST_F(RealDesktopTest, withoutABusItEndsWithItsDisplay) {
    startCatalog();
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    const auto tray = VirtualDesktop::startTray();
    program = std::make_unique<Process>(command());
    ASSERT_TRUE(comesTrue([] { return !VirtualDesktop::paintedWindow().empty(); }));
    desktop.endDisplay();
    expectProgramToEnd();
}

TEST_F(RealDesktopTest, aWindowComesBackWhenThePainterDies) {
    startCatalog();
    startProgram();
    menuWith("New Versions Available (15)");
    ASSERT_TRUE(choose("About"));
    window("About Quorvel");
    const pid_t firstPainter = painter();
    ASSERT_GT(firstPainter, 0);
    kill(firstPainter, SIGKILL);
    // The old window outlives its painter by a moment, and the new one may have its number.
    const auto isPaintedAnew = [&] {
        const auto owner = VirtualDesktop::ownerOf(VirtualDesktop::windowNamed("About Quorvel"));
        return owner > 0 && owner != firstPainter;
    };
    ASSERT_TRUE(comesTrue(isPaintedAnew));
    press(window("About Quorvel"), "Escape");
    EXPECT_TRUE(closes("About Quorvel"));

    ASSERT_TRUE(choose("Quit"));
    const auto result = program->finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "quorvel: The painter is gone. It ended.\n");
}

TEST_F(RealDesktopTest, aSecondStartPopsUpTheMenuAndItsItemOpensItsWindow) {
    startCatalog();
    startProgram();
    menuWith("New Versions Available (15)");
    EXPECT_EQ(Process(command()).finish().status, 0);
    VirtualDesktop::type(window("Quorvel"), {"Up", "Up", "Return"});
    press(window("About Quorvel"), "Escape");
    EXPECT_TRUE(closes("Quorvel"));

    EXPECT_EQ(Process(command()).finish().status, 0);
    VirtualDesktop::type(window("Quorvel"), {"Escape"});
    EXPECT_TRUE(closes("Quorvel"));
    EXPECT_TRUE(closes("About Quorvel"));
}

/// A compositor closes at once what claims to be the menu of a window that had a key some time ago.
TEST_F(RealDesktopTest, onWaylandASecondStartPopsUpTheMenuBesideAWindowThatHadAKey) {
    startCatalog();
    const auto compositor = VirtualDesktop::startCompositor(folder);
    ASSERT_TRUE(comesTrue([&] { return exists(folder.path / "wayland-test"); }));
    startProgram();
    menuWith("New Versions Available (15)");
    // The toolkit's own colours of windows and menus.
    const auto shows = [](const char* colour) { return VirtualDesktop::placeOf(colour).has_value(); };
    constexpr const char *window = "#efefef", *menu = "#ffffff";
    const auto click = [](const char* colour, int right, int down) {
        const auto place = VirtualDesktop::placeOf(colour).value();
        VirtualDesktop::click(place.first + right, place.second + down);
    };
    ASSERT_TRUE(choose("About"));
    ASSERT_TRUE(comesTrue([&] { return shows(window); }));
    // The compositor counts steps of the pointer, which begin to be the screen's own at an edge.
    VirtualDesktop::run({"xdotool", "mousemove", "0", "0", "mousemove", "500", "350", "key", "shift"});
    EXPECT_EQ(Process(command()).finish().status, 0);
    ASSERT_TRUE(comesTrue([&] { return shows(menu); }));
    click(window, 0, 0);
    ASSERT_TRUE(comesTrue([&] { return !shows(menu); }));
    EXPECT_EQ(Process(command()).finish().status, 0);
    ASSERT_TRUE(comesTrue([&] { return shows(menu); }));
    click(menu, 55, 7);
    EXPECT_TRUE(comesTrue([&] { return checksAsked() == 2 && !shows(menu); }));
}

TEST_F(RealDesktopTest, aTrayShowsTheItemAgainAfterThePaintersDeathAndUntilAPanelHostsIt) {
    startCatalog();
    const auto tray = VirtualDesktop::startTray();
    startProgram();
    menuWith("New Versions Available (15)");
    const auto showsInTray = [] { return !VirtualDesktop::paintedWindow().empty(); };
    ASSERT_TRUE(comesTrue(showsInTray));
    EXPECT_TRUE(comesTrue(&VirtualDesktop::showsWhite)) << "a template on a dark tray";
    VirtualDesktop::click(13, 13);
    VirtualDesktop::type(window("Quorvel"), {"Up", "Up", "Return"});
    press(window("About Quorvel"), "Escape");
    ASSERT_TRUE(closes("About Quorvel"));

    const pid_t firstPainter = painter();
    kill(firstPainter, SIGKILL);
    ASSERT_TRUE(comesTrue([&] {
        const auto owner = VirtualDesktop::ownerOf(VirtualDesktop::paintedWindow());
        return owner > 0 && owner != firstPainter;
    }));

    xfcePanel = desktop.startPanel();
    ASSERT_TRUE(comesTrue([&] { return panel->sees(watcher) && !showsInTray(); }));
    EXPECT_TRUE(comesTrue(&VirtualDesktop::showsIcon));
}

TEST_F(RealDesktopTest, theLogsWindowCopiesTheLog) {
    startCatalog();
    startProgram();
    ASSERT_TRUE(comesTrue([&] { return log().contains("Launch check completed"); }));
    ASSERT_TRUE(choose("Show Error Log"));
    const auto number = window("Error Log");
    constexpr int copyX = 136, copyY = 380;
    const auto clipboard = [] {
        return VirtualDesktop::run({"xclip", "-o", "-selection", "clipboard"}).output;
    };
    VirtualDesktop::click(copyX, copyY, number);
    EXPECT_TRUE(comesTrue([&] { return clipboard() == log(); })) << clipboard();
}

TEST_F(RealDesktopTest, whatWasIgnoredIsListedUntilItIsReset) {
    startCatalog();
    startProgram();
    const auto menu = menuWith("New Versions Available (15)");
    ASSERT_TRUE(choose(menu.root.named("Amberleaf (3.1.0 → 3.2.1)").named("Ignore This Version")));
    ASSERT_TRUE(choose(menuWith("New Versions Available (14)").root.named("Ignored Versions")));
    const auto number = window("Ignored Versions");
    constexpr int resetX = 53, resetY = 298;
    VirtualDesktop::click(resetX, resetY, number);
    ASSERT_TRUE(comesTrue([&] { return folder.read("storage/ignored_versions.json") == "{}"; }));
    // What the last check flagged stays flagged until the next one.
    ASSERT_TRUE(choose("Check for Updates"));
    menuWith("New Versions Available (15)");
}

TEST_F(RealDesktopTest, anUncaughtExceptionIsLoggedReportedAndToldInAnAlert) {
    startCatalog();
    const auto trigger = folder.path / "throw";
    setenv("QUORVEL_TEST_THROWS_ONCE", trigger.c_str(), 1);
    setenv("LD_PRELOAD", THROWING_SYNC, 1);
    // AddressSanitizer insists on being loaded first.
    setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
    startProgram();
    unsetenv("LD_PRELOAD");
    unsetenv("ASAN_OPTIONS");
    menuWith("New Versions Available (15)");
    folder.write("throw", "");
    ASSERT_TRUE(choose("Color Icon"));

    const auto alert = window("Quorvel");
    EXPECT_EQ(std::ranges::count(log(), '\n'), 1) << log();
    EXPECT_TRUE(log().ends_with("] std::runtime_error: The disk is gone.\n")) << log();
    EXPECT_TRUE(
        comesTrue([&] { return recordedMessages().back() == "std::runtime_error: The disk is gone."; }));
    press(alert, "Return");
    EXPECT_EQ(program->finish().status, 1);
}

}  // namespace
}  // namespace quorvel
