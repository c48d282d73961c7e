#include "app/AppDelegateFixture.h"

namespace quorvel {
namespace {

class UserActionsTest : public AppDelegateFixture {
protected:
    void SetUp() override {
        launchOnline();
        settleLaunch();
        newRequests();
    }
};

TEST_F(UserActionsTest, ignoresOneVersionOfOneApplicationAtOnceAndForLaterChecks) {
    addApp("Amberleaf", "1.0");
    addApp("Brindle", "1.0");
    // A second copy of the same application, in an older version.
    addApp("Amberleaf", "0.9", "Old/");
    listInCatalog({{"Amberleaf", "2.0"}, {"Brindle", "2.0"}});
    delegate->runManualCheck();
    settle();
    ASSERT_EQ(updatesTitle(), "New Versions Available (3)");
    newRequests();

    chooseItem({"New Versions…", "Amberleaf (1.0…", "Ignore This Version"});
    expectAtRest();
    EXPECT_EQ(updatesText(), "Brindle (1.0 → 2.0)\n") << "both copies are ignored, the other is not";
    EXPECT_EQ(newRequests(), "") << "no check runs";
    const IgnoredVersionsStore store(persistence);
    EXPECT_EQ(store.load(), (IgnoredVersions{{"com.example.Amberleaf", {"Amberleaf", "2.0"}}}));

    delegate->ignoreUpdate({.app = {"Brindle", "com.example.Brindle", "1.0", "/", {}},
                            .latestVersion = "2.0.0",
                            .obAppId = 5,
                            .isIgnored = false});
    EXPECT_EQ(updatesText(), "Brindle (1.0 → 2.0)\n") << "that was another version";

    listInCatalog({{"Amberleaf", "2.1"}, {"Brindle", "2.0"}});
    delegate->runManualCheck();
    settle();
    EXPECT_EQ(updatesTitle(), "New Versions Available (3)") << "another version is news";
}

TEST_F(UserActionsTest, resettingTheIgnoredVersionsShowsThemFromTheNextCheckOn) {
    addApp("Amberleaf", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}});
    delegate->runManualCheck();
    settle();
    chooseItem({"New Versions…", "Amberleaf…", "Ignore This Version"});
    chooseItem({"Settings", "Ignored Versions"});
    chooseItem({"Settings", "Ignored Versions"});
    ASSERT_EQ(windowServer.windows.size(), 1U);
    const auto& window = *windowServer.windows[0];
    EXPECT_EQ(window.shows, 2);
    EXPECT_EQ(window.rows(), (TableRows{{"Amberleaf", "2.0"}}));
    const int menus = statusBar.menusSet;
    window.press("Reset All");
    EXPECT_EQ(statusBar.menusSet, menus + 1);
    EXPECT_EQ(updatesText(), "No Updates Available\n") << "the flags stay until the next check";
    delegate->runManualCheck();
    settle();
    EXPECT_EQ(updatesText(), "Amberleaf (1.0 → 2.0)\n");
}

TEST_F(UserActionsTest, opensAtLoginAsItsMenuSays) {
    const SettingsStore store(persistence);
    ASSERT_FALSE(std::filesystem::exists(store.url));
    const auto isMarked = [this] {
        return itemAt(*statusBar.menu, {"Settings", "Open at Login"}).state == MenuItem::State::on;
    };
    chooseItem({"Settings", "Open at Login"});
    EXPECT_EQ(store.load(), (Settings{.openAtLogin = true, .colorIcon = false}));
    EXPECT_TRUE(std::filesystem::exists(store.url));
    EXPECT_TRUE(isMarked());
    chooseItem({"Settings", "Color Icon"});
    EXPECT_EQ(store.load(), (Settings{.openAtLogin = true, .colorIcon = true}));
    EXPECT_FALSE(statusBar.image.isTemplate);
    loginItem.succeeds = false;
    chooseItem({"Settings", "Open at Login"});
    EXPECT_EQ(store.load(), (Settings{.openAtLogin = false, .colorIcon = true}));
    EXPECT_FALSE(isMarked());
    EXPECT_EQ(loginItem.requests, (std::vector<std::string>{"register", "unregister"}));
    folder.write("data/settings.json", "damaged");
    chooseItem({"Settings", "Color Icon"});
    EXPECT_EQ(store.load(), (Settings{.openAtLogin = false, .colorIcon = true}))
        << "flipped from the default";
    expectAtRest();
}

TEST_F(UserActionsTest, tellsTheCatalogOfTheHubAndShowsEachWindowAgainRatherThanTwice) {
    chooseItem({"Try Orbisto Hub app"});
    EXPECT_EQ(newRequests(), "/qvl/tracking success try_desktop\n");
    for (int turn = 1; turn <= 2; ++turn) {
        chooseItem({"About"});
        chooseItem({"Settings", "Show Error Log"});
        instanceStore.save(99);
        ASSERT_EQ(windowServer.windows.size(), 2U);
        EXPECT_EQ(windowServer.windows[0]->shows, turn);
        EXPECT_EQ(windowServer.windows[1]->shows, turn);
    }
    const auto label = [this](std::size_t view) {
        return std::get<Label>(windowServer.windows[0]->content.views.at(view)).text;
    };
    EXPECT_EQ(label(1), "Version 1.4.2");
    EXPECT_EQ(label(2), "Instance ID: 7") << "read when the window was made";
    EXPECT_EQ(windowServer.windows[1]->text, log());
    windowServer.windows[1]->press("Copy");
    EXPECT_EQ(pasteboard.content, log());
}

TEST_F(UserActionsTest, anUncaughtExceptionIsLoggedReportedAndShownBeforeTheExit) {
    const struct {
        UncaughtException exception;
        std::string message, stack;
    } rows[] = {
        {{"std::logic_error", "state is gone", {"0 run", "1 main"}},
         "std::logic_error: state is gone",
         "0 run\n1 main"},
        {{"int", std::nullopt, {"0 main"}}, "int: no reason", "0 main"},
    };
    // The handler works without the controller, whose state may be what broke.
    delegate.reset();
    for (const auto& [exception, message, stack] : rows) {
        alerts.shown.clear();
        exits.clear();
        uncaughtExceptionHandler(exception);
        EXPECT_EQ(log(), "[1970-01-01T00:00:00Z] " + message + "\n");
        EXPECT_EQ(newRequests(), "/qvl/tracking error " + message + "\n");
        EXPECT_TRUE(backtrace().ends_with("\n---\n" + stack)) << backtrace();
        EXPECT_EQ(alerts.shown, std::vector<std::string>{
                                    "Quorvel encountered an unexpected error and needs to quit.|" + message});
        EXPECT_TRUE(exits.empty()) << "not before the alert is dismissed";
        alerts.dismiss();
        EXPECT_EQ(exits, std::vector<int>{1});
    }
}

}  // namespace
}  // namespace quorvel
