#include "app/AppDelegateFixture.h"
#include "platform/OperatingSystem.h"

namespace quorvel {
namespace {

using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

std::string launchHeader(const std::string& instance) {
    return "Quorvel 1.4.2\nInstance: " + instance + "\nPlatform: " + machineName() +
           "\nOS: macOS 14.5.0\n---\n";
}

/// `body` with `text` in it, as JSON escapes it.
void expectContains(const std::string& body, const std::string& text) {
    EXPECT_NE(body.find(text), std::string::npos) << "no " << text << "\nin " << body;
}

class AppDelegateTest : public AppDelegateFixture {};

TEST_F(AppDelegateTest, launchShowsTheCheckOnTheIconAndTheResultInTheMenu) {
    addApp("Amberleaf", "1.0");
    addApp("Brindle", "3.1");
    listInCatalog({{"Amberleaf", "2.0"}, {"Brindle", "3.1"}});
    SettingsStore(persistence).save({.openAtLogin = true, .colorIcon = true});
    queue.advance(1h);
    launchOnline();
    EXPECT_EQ(statusBar.itemsMade, 1);
    EXPECT_TRUE(iconShowsFetching());
    EXPECT_EQ(statusBar.menusSet, 1);
    EXPECT_EQ(updatesText(), "No Updates Available\n");
    EXPECT_EQ(itemAt(*statusBar.menu, {"Settings", "Color Icon"}).state, MenuItem::State::on);
    queue.advance(3470ms);
    settleLaunch();
    EXPECT_EQ(queue.untilNext(), 6h) << "the timer runs after every outcome";
    EXPECT_EQ(updatesText(), "Amberleaf (1.0 → 2.0)\n");
    EXPECT_FALSE(statusBar.image.isTemplate);
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n/qvl/tracking\n");
    expectContains(bodies("/qvl/tracking")[0], "instance_running trigger=launch apps=2 updates=1");
    EXPECT_EQ(log(), launchHeader("7") +
                         "[1970-01-01T01:00:00Z] Launch started\n"
                         "---\n[1970-01-01T01:00:03Z] Check completed\n"
                         "All apps: 2\nMatched: 2 (1 already latest)\nUnmatched: 0\nUpdates: 1\n"
                         "---\n[1970-01-01T01:00:03Z] Launch check completed in 3.47s\n");
    EXPECT_FALSE(delegate->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(AppDelegateTest, aMachineWithoutApplicationsAsksTheCatalogNothing) {
    launchOnline();
    settleLaunch();
    EXPECT_TRUE(log().contains("Z] Scanner found 0 apps — skipping API call\n---\n")) << log();
    EXPECT_EQ(newRequests(), "");
    EXPECT_EQ(updatesText(), "No Updates Available\n");
    EXPECT_EQ(queue.untilNext(), 6h);
}

TEST_F(AppDelegateTest, aLaunchWithoutNetworkRunsAgainWhenTheNetworkReturns) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    path->report(PathStatus::unsatisfied);
    launch();
    settleLaunch();
    EXPECT_EQ(queue.untilNext(), 6h) << "the timer runs after every outcome";
    const std::string noConnection =
        "[1970-01-01T00:00:00Z] Launch started\n"
        "---\n[1970-01-01T00:00:00Z] No internet connection.\n"
        "---\n[1970-01-01T00:00:00Z] Launch check completed in 0.00s\n";
    EXPECT_EQ(log(), launchHeader("7") + noConnection);
    EXPECT_EQ(updatesText(), "Last check failed\nNo internet connection.\n");
    EXPECT_EQ(newRequests(), "") << "neither scanned nor reported";

    queue.advance(90s);
    const int menus = statusBar.menusSet;
    path->report(PathStatus::satisfied);
    EXPECT_EQ(log(), launchHeader("7") + noConnection) << "the monitor's queue touches nothing";
    EXPECT_FALSE(iconShowsFetching());
    queue.runUntilIdle();
    EXPECT_TRUE(iconShowsFetching());
    EXPECT_EQ(statusBar.menusSet, menus) << "a launch check leaves the menu until its end";
    settleLaunch();
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n/qvl/tracking\n");
    EXPECT_EQ(updatesText(), "Amberleaf (1.0 → 2.0)\n");
    EXPECT_TRUE(log().starts_with(launchHeader("7") + "[1970-01-01T00:01:30Z] Launch started\n"));
    EXPECT_TRUE(log().ends_with("Launch check completed in 90.00s\n")) << "counted from the launch";

    path->report(PathStatus::unsatisfied);
    path->report(PathStatus::satisfied);
    settle();
    EXPECT_EQ(newRequests(), "") << "one loss of the connection, one retry";
}

TEST_F(AppDelegateTest, everyTriggerWithoutNetworkAppendsToTheLogAndLeavesOneRetry) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    launchOnline();
    settleLaunch();
    newRequests();
    std::string expectedLog = log();
    path->report(PathStatus::unsatisfied);
    for (const auto check : {&AppDelegate::runManualCheck, &AppDelegate::runBackgroundCheck}) {
        (*delegate.*check)();
        settle();
        EXPECT_EQ(log(), expectedLog += "---\n[1970-01-01T00:00:00Z] No internet connection.\n");
    }
    EXPECT_EQ(updatesTitle(), "New Versions Available (1)") << "the last result is still counted";
    EXPECT_EQ(updatesText(), "Last check failed\nNo internet connection.\n");
    EXPECT_EQ(newRequests(), "");
    path->report(PathStatus::satisfied);
    settleLaunch();
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n/qvl/tracking\n") << "one retry";
    EXPECT_EQ(updatesText(), "Amberleaf (1.0 → 2.0)\n");
}

TEST_F(AppDelegateTest, neverWaitsForANetworkThatIsNotMonitored) {
    addApp("Amberleaf", "1.0");
    skipMonitoring = true;
    start();
    launch();
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n");
}

TEST_F(AppDelegateTest, aManualCheckIsRefusedWhileOneRuns) {
    addApp("Amberleaf", "1.0");
    launchOnline();
    const std::string before = log();
    const int menus = statusBar.menusSet;
    newRequests();
    chooseItem({"Check for Updates"});
    EXPECT_TRUE(alerts.shown.empty()) << "the first menu knows of no check";
    EXPECT_EQ(newRequests() + log(), before);
    EXPECT_EQ(statusBar.menusSet, menus);
    settleLaunch();

    newRequests();
    chooseItem({"Check for Updates"});
    EXPECT_TRUE(iconShowsFetching());
    chooseItem({"Check for Updates"});
    EXPECT_EQ(alerts.shown, Texts{"Update check is already running.|"});
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n");
    settle();
    expectContains(bodies("/qvl/tracking").back(), "instance_running trigger=manual apps=1 updates=0");
}

TEST_F(AppDelegateTest, aBackgroundCheckRunsBesideAManualOneAndTheLaterEndWins) {
    addApp("Amberleaf", "1.0");
    launchOnline();
    settleLaunch();
    const auto duration = queue.untilNext();
    queue.advance(duration - 1s);
    chooseItem({"Check for Updates"});
    newRequests();
    queue.advance(1s);
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n");
    const auto first = session.completions.size() - 2, second = first + 1;
    session.completions[second]({"", 500, {}});
    queue.runUntilIdle();
    EXPECT_FALSE(iconShowsFetching());
    EXPECT_TRUE(updatesText().starts_with("Last check failed\n"));
    listInCatalog({{"Amberleaf", "2.0"}});
    session.completions[first]({answers["/apps/auto-match-collection"].body, 200, {}});
    queue.runUntilIdle();
    EXPECT_EQ(updatesText(), "Amberleaf (1.0 → 2.0)\n");
    expectContains(bodies("/qvl/tracking").back(), "trigger=manual");
}

TEST_F(AppDelegateTest, checksEverySixHoursFromTheLastLaunchCheckOn) {
    addApp("Amberleaf", "1.0");
    launchOnline();
    settleLaunch();
    queue.advance(2h);
    chooseItem({"Check for Updates"});
    settle();
    EXPECT_EQ(queue.untilNext(), 4h) << "a manual check leaves the timer running";
    newRequests();
    queue.advance(4h);
    EXPECT_TRUE(iconShowsFetching());
    settle();
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n/qvl/tracking\n");
    expectContains(bodies("/qvl/tracking").back(), "trigger=background");
    EXPECT_EQ(queue.untilNext(), 6h);

    queue.advance(5h);
    path->report(PathStatus::unsatisfied);
    delegate->runManualCheck();
    path->report(PathStatus::satisfied);
    settle();
    newRequests();
    queue.advance(2h);
    EXPECT_EQ(newRequests(), "") << "the retry has restarted the six hours";
    queue.advance(4h);
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n");
}

TEST_F(AppDelegateTest, aFailureOfTheCatalogIsShownLoggedAndReported) {
    addApp("Amberleaf", "1.0");
    const std::string description =
        "Failed to check for updates (scanned 1 apps): Server returned HTTP 500 — overloaded.";
    const std::string stamp = "[1970-01-01T00:00:00Z] ";
    failCatalog(500, "overloaded");
    launchOnline();
    settleLaunch();
    EXPECT_EQ(queue.untilNext(), 6h) << "the timer runs after every outcome";
    EXPECT_EQ(updatesText(), "Last check failed\n" + description + "\n");
    EXPECT_EQ(log(), launchHeader("7") + stamp + "Launch started\n" + stamp +
                         "Chunk 1/1 failed: Server returned HTTP 500 — overloaded.\n" + stamp + description +
                         "\n---\n" + stamp + "Launch check completed in 0.00s\n");
    EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n/qvl/tracking\n");
    const auto launchReport = bodies("/qvl/tracking").back();
    expectContains(launchReport, R"("status":"error","message":")" + description + "\"");
    expectContains(launchReport, "OS: macOS 14.5.0\\n---\\n" + stamp + "Launch started\\n");
    expectContains(launchReport, stamp + description + "\\n\"}");

    for (const auto check : {&AppDelegate::runManualCheck, &AppDelegate::runBackgroundCheck}) {
        (*delegate.*check)();
        settle();
        EXPECT_EQ(log(), stamp + description + "\n");
        EXPECT_EQ(newRequests(), "/apps/auto-match-collection\n/qvl/tracking\n");
        expectContains(bodies("/qvl/tracking").back(), "\\n---\\n" + stamp + description + "\\n\"}");
    }
    path->report(PathStatus::unsatisfied);
    path->report(PathStatus::satisfied);
    settle();
    EXPECT_EQ(newRequests(), "") << "no retry but for a lost connection";
    listInCatalog({});
    delegate->runManualCheck();
    EXPECT_TRUE(updatesText().starts_with("Last check failed\n")) << "until the next result";
    settle();
    EXPECT_EQ(updatesText(), "No Updates Available\n");
}

TEST_F(AppDelegateTest, anUnregisteredInstallationReportsNothing) {
    addApp("Amberleaf", "1.0");
    std::filesystem::remove(instanceStore.url);
    failCatalog(500, "");
    answers["/qvl/instance"] = {500, ""};
    launchOnline();
    settleLaunch();
    chooseItem({"Try Orbisto Hub app"});
    uncaughtExceptionHandler({"logic_error", "broken", {}});
    EXPECT_EQ(newRequests(), "/qvl/instance\n/apps/auto-match-collection\n");
    delegate->runLaunchCheck();
    EXPECT_TRUE(log().starts_with(launchHeader("not registered")));
}

TEST_F(AppDelegateTest, aReportOfAnUnreadableLogHasNoDetails) {
    addApp("Amberleaf", "1.0");
    launchOnline();
    settleLaunch();
    failCatalog(500, "");
    std::filesystem::remove(persistence.appSupportURL / "error.log");
    std::filesystem::create_directories(persistence.appSupportURL / "error.log/in the way");
    delegate->runManualCheck();
    settle();
    expectContains(bodies("/qvl/tracking").back(), R"("backtrace":"version: 1.4.2\nos: macOS 14.5.0"})");
}

TEST_F(AppDelegateTest, nothingThatItHandedOutActsOnceItIsGone) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    launchOnline();
    settleLaunch();
    path->report(PathStatus::unsatisfied);
    delegate->runManualCheck();
    path->report(PathStatus::satisfied);  // the retry waits on the main queue
    delegate->runBackgroundCheck();       // and an answer of the catalog is due
    const auto menu = statusBar.menu;
    const auto answer = session.completions.size() - 1;
    newRequests();
    const std::string before = log();
    delegate.reset();
    session.completions[answer]({answers["/apps/auto-match-collection"].body, 200, {}});
    queue.advance(13h);
    path->report(PathStatus::unsatisfied);
    for (const MenuPath item :
         {MenuPath{"About"}, MenuPath{"Settings", "Open at Login"}, MenuPath{"Settings", "Color Icon"},
          MenuPath{"Settings", "Show Error Log"}, MenuPath{"Try Orbisto Hub app"}})
        choose(*menu, item);
    EXPECT_EQ(statusBar.menu, menu);
    EXPECT_EQ(log(), before);
    EXPECT_EQ(newRequests(), "");
    EXPECT_TRUE(windowServer.windows.empty());
    EXPECT_TRUE(loginItem.requests.empty());
}

}  // namespace
}  // namespace quorvel
