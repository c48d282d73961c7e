#include "support/AppDelegateFixture.h"

namespace quorvel {
namespace {

class UserActionsTest : public AppDelegateFixture {
protected:
    void SetUp() override { finishLaunch(); }
};

TEST_F(UserActionsTest, ignoresOneVersionOfOneApplicationAtOnceAndForLaterChecks) {
    addApp("Amberleaf", "1.0");
    addApp("Amberleaf", "0.9", "Old/Amberleaf");
    addApp("Brindle", "1.0");
    listInCatalog({{"Amberleaf", "2.0"}, {"Brindle", "2.0"}});
    delegate->runManualCheck();
    settle();
    ASSERT_EQ(updatesTitle(), "New Versions Available (3)");
    newRequests();

    const std::string brindle = "<Brindle> (<1.0> → <2.0>)\n";
    chooseItem({"New Versions…", "Amberleaf (1.0…", "Ignore This Version"});
    expectAtRest();
    EXPECT_EQ(updatesText(), brindle) << "both copies are ignored, the other is not";
    EXPECT_EQ(newRequests(), "") << "no check runs";
    const IgnoredVersionsStore store(persistence);
    EXPECT_EQ(store.load(), (IgnoredVersions{{"com.example.Amberleaf", {"Amberleaf", "2.0"}}}));

    delegate->ignoreUpdate({{"Brindle", "com.example.Brindle", "1.0", "/", {}}, "2.0.0", 5, false});
    EXPECT_EQ(updatesText(), brindle) << "that was another version";
    listInCatalog({{"Amberleaf", "2.1"}, {"Brindle", "2.0"}});
    delegate->runManualCheck();
    settle();
    EXPECT_EQ(updatesTitle(), "New Versions Available (3)") << "another version is news";
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
