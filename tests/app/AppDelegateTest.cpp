#include "platform/OperatingSystem.h"
#include "support/AppDelegateFixture.h"

namespace quorvel {
namespace {

using namespace std::chrono_literals;

const std::string amberleaf = "<Amberleaf> (<1.0> → <2.0>)\n";
const std::string stamp = "[1970-01-01T00:00:00Z] ";

std::string launchHeader(const std::string& instance, const std::string& version = "1.4.2") {
    return "Quorvel " + version + "\nInstance: " + instance + "\nPlatform: " + machineName() +
           "\nOS: macOS 14.5.0\n---\n";
}

const std::string asked = "/apps/auto-match-collection 1\n", checking = "checking\n";
const std::string noUpdates = "!No Updates Available\n";
const std::string noConnection = "!Last check failed\n!<No internet connection.>\n";

/// The event at the end of a check of one application that goes well.
std::string success(const std::string& trigger, int updates = 0) {
    return "/qvl/tracking success instance_running trigger=" + trigger +
           " apps=1 updates=" + std::to_string(updates) + "\n";
}

class AppDelegateTest : public AppDelegateFixture {};

TEST_F(AppDelegateTest, launchShowsTheCheckOnTheIconAndTheResultInTheMenu) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    SettingsStore(persistence).save({.openAtLogin = true, .colorIcon = true});
    queue.advance(1h);
    launchOnline();
    EXPECT_EQ(news(), asked + noUpdates + checking);
    EXPECT_EQ(statusBar.itemsMade, 1);
    EXPECT_EQ(itemAt(*statusBar.menu, {"Settings", "Color Icon"}).state, MenuItem::State::on);
    queue.advance(3470ms);
    settle();
    EXPECT_EQ(news(), success("launch", 1) + amberleaf);
    EXPECT_EQ(queue.untilNext(), 6h) << "the timer runs after every outcome";
    EXPECT_FALSE(statusBar.image.isTemplate);
    EXPECT_EQ(log(),
              launchHeader("7") +
                  "[1970-01-01T01:00:00Z] Launch started\n---\n[1970-01-01T01:00:03Z] Check completed\n"
                  "All apps: 1\nMatched: 1\nUnmatched: 0\nUpdates: 1\n"
                  "---\n[1970-01-01T01:00:03Z] Launch check completed in 3.47s\n");
    EXPECT_FALSE(delegate->applicationShouldTerminateAfterLastWindowClosed());
}

TEST_F(AppDelegateTest, aMachineWithoutApplicationsAsksTheCatalogNothing) {
    // Nor does a network that is not monitored have to be reported.
    skipMonitoring = true;
    start();
    delegate->applicationDidFinishLaunching();
    settle();
    EXPECT_TRUE(log().contains("Z] Scanner found 0 apps — skipping API call\n---\n")) << log();
    EXPECT_EQ(news(), noUpdates);
    EXPECT_EQ(queue.untilNext(), 6h);
}

TEST_F(AppDelegateTest, aLaunchWithoutNetworkRunsAgainWhenTheNetworkReturns) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    path->report(PathStatus::unsatisfied);
    delegate->applicationDidFinishLaunching();
    settle();
    EXPECT_EQ(news(), noConnection) << "neither scanned nor reported";
    EXPECT_EQ(queue.untilNext(), 6h) << "the timer runs after every outcome";
    const std::string offlineLog = launchHeader("7") + stamp + "Launch started\n---\n" + stamp +
                                   "No internet connection.\n---\n" + stamp +
                                   "Launch check completed in 0.00s\n";
    EXPECT_EQ(log(), offlineLog);

    queue.advance(90s);
    path->report(PathStatus::satisfied);
    EXPECT_EQ(news() + log(), offlineLog) << "the monitor's queue touches nothing";
    queue.runUntilIdle();
    EXPECT_EQ(news(), asked + checking) << "a launch check leaves the menu until its end";
    settle();
    EXPECT_EQ(news(), success("launch", 1) + amberleaf);
    EXPECT_TRUE(log().starts_with(launchHeader("7") + "[1970-01-01T00:01:30Z] Launch started\n"));
    EXPECT_TRUE(log().ends_with("Launch check completed in 90.00s\n")) << "counted from the launch";
}

TEST_F(AppDelegateTest, everyTriggerWithoutNetworkAppendsToTheLogAndLeavesOneRetry) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    finishLaunch();
    std::string expectedLog = log();
    path->report(PathStatus::unsatisfied);
    for (const auto check : {&AppDelegate::runManualCheck, &AppDelegate::runBackgroundCheck}) {
        (*delegate.*check)();
        settle();
        EXPECT_EQ(news(), noConnection);
        EXPECT_EQ(log(), expectedLog += "---\n" + stamp + "No internet connection.\n");
    }
    EXPECT_EQ(updatesTitle(), "New Versions Available (1)") << "the last result is still counted";
    queue.advance(1h);
    for (const auto& expected : {asked + success("launch", 1) + amberleaf, std::string()}) {
        path->report(PathStatus::satisfied);
        settle();
        EXPECT_EQ(news(), expected) << "one retry";
        path->report(PathStatus::unsatisfied);
    }
    queue.advance(6h - 1s);
    EXPECT_EQ(news(), "") << "the retry has restarted the timer";
}

TEST_F(AppDelegateTest, aManualCheckIsRefusedWhileOneRuns) {
    addApp("Amberleaf", "1.0");
    launchOnline();
    news();
    const std::string before = log();
    chooseItem({"Check for Updates"});
    EXPECT_TRUE(alerts.shown.empty()) << "the first menu knows of no check";
    EXPECT_EQ(news() + log(), checking + before);
    settle();
    news();

    queue.advance(2h);
    chooseItem({"Check for Updates"});
    EXPECT_EQ(news(), asked + noUpdates + checking);
    chooseItem({"Check for Updates"});
    EXPECT_EQ(alerts.shown, std::vector<std::string>{"Update check is already running.|"});
    settle();
    EXPECT_EQ(news(), success("manual") + noUpdates);
    EXPECT_EQ(queue.untilNext(), 4h) << "a manual check leaves the timer running";
}

TEST_F(AppDelegateTest, aBackgroundCheckRunsBesideAManualOneAndTheLaterEndWins) {
    addApp("Amberleaf", "1.0");
    finishLaunch();
    queue.advance(6h - 1s);
    chooseItem({"Check for Updates"});
    queue.advance(1s);
    EXPECT_EQ(news(), asked + asked + noUpdates + checking);
    const auto first = session.completions.size() - 2, second = first + 1;
    answer(second, {500, ""});
    EXPECT_TRUE(news().contains("\n!Last check failed\n"));
    listInCatalog({{"Amberleaf", "2.0"}});
    answer(first, answerTo(session.requests[first]));
    EXPECT_EQ(news(), success("manual", 1) + amberleaf);

    queue.advance(6h);
    EXPECT_EQ(news(), asked + amberleaf + checking);
    settle();
    EXPECT_EQ(news(), success("background", 1) + amberleaf);
    EXPECT_EQ(queue.untilNext(), 6h);
}

TEST_F(AppDelegateTest, aFailureOfTheCatalogIsShownLoggedAndReported) {
    addApp("Amberleaf", "1.0");
    const std::string description =
        "Failed to check for updates (scanned 1 apps): Server returned HTTP 500 — overloaded.";
    const auto failure =
        asked + "/qvl/tracking error " + description + "\n!Last check failed\n!<" + description + ">\n";
    failCatalog(500, "overloaded");
    launchOnline();
    settle();
    EXPECT_EQ(news(), failure);
    EXPECT_EQ(queue.untilNext(), 6h) << "the timer runs after every outcome";
    const auto beforeReport = launchHeader("7") + stamp + "Launch started\n" + stamp +
                              "Chunk 1/1 failed: Server returned HTTP 500 — overloaded.\n" + stamp +
                              description + "\n";
    EXPECT_EQ(log(), beforeReport + "---\n" + stamp + "Launch check completed in 0.00s\n");
    const std::string environment = "version: 1.4.2\nos: macOS 14.5.0";
    EXPECT_EQ(backtrace(), environment + "\n---\n" + beforeReport);
    for (const auto check : {&AppDelegate::runManualCheck, &AppDelegate::runBackgroundCheck}) {
        (*delegate.*check)();
        settle();
        EXPECT_EQ(news(), failure);
        EXPECT_EQ(log(), stamp + description + "\n");
        EXPECT_EQ(backtrace(), environment + "\n---\n" + log());
    }
    path->report(PathStatus::unsatisfied);
    path->report(PathStatus::satisfied);
    settle();
    EXPECT_EQ(news(), "") << "no retry but for a lost connection";

    std::filesystem::remove(persistence.appSupportURL / "error.log");
    std::filesystem::create_directories(persistence.appSupportURL / "error.log/in the way");
    delegate->runManualCheck();
    settle();
    EXPECT_EQ(backtrace(), environment) << "the report of an unreadable log has no details";
    listInCatalog({});
    delegate->runManualCheck();
    EXPECT_TRUE(updatesText().starts_with("!Last check failed\n")) << "until the next result";
    settle();
    EXPECT_EQ(updatesText(), noUpdates);
}

TEST_F(AppDelegateTest, anUnregisteredInstallationReportsNothing) {
    addApp("Amberleaf", "1.0");
    std::filesystem::remove(instanceStore.url);
    ownVersion.reset();
    start();
    failCatalog(500, "");
    answers["/qvl/instance"] = {500, ""};
    launchOnline();
    EXPECT_TRUE(log().starts_with(launchHeader("not registered", "unknown"))) << log();
    settle();
    chooseItem({"Try Orbisto Hub app"});
    uncaughtExceptionHandler({"logic_error", "broken", {}});
    chooseItem({"About"});
    EXPECT_EQ(std::get<Label>(windowServer.windows.at(0)->content.views.at(2)).text,
              "Instance ID: not registered yet");
    EXPECT_EQ(newRequests(),
              "/qvl/instance {\"version\":\"0\",\"os\":\"macOS 14.5.0\"}\n/apps/auto-match-collection 1\n");
}

TEST_F(AppDelegateTest, nothingThatItHandedOutActsOnceItIsGone) {
    for (int number = 0; number < 201; ++number)
        addApp(std::to_string(number), "1.0");
    finishLaunch();
    delegate->runBackgroundCheck();
    answer(session.requests.size() - 1, answerTo(session.requests.back()));
    delegate->runBackgroundCheck();
    path->report(PathStatus::unsatisfied);
    delegate->runBackgroundCheck();
    path->report(PathStatus::satisfied);
    // A second chunk waits for its pause now, an answer of the catalog is due, and the retry is on the queue.
    const auto menu = statusBar.menu;
    newRequests();
    const std::string before = log();
    delegate.reset();
    answer(session.requests.size() - 1, {});
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
