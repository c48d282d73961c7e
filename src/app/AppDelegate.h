#pragma once

#include <chrono>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "api/Environment.h"
#include "api/OrbistoAPIService.h"
#include "app/UncaughtExceptionHandler.h"
#include "check/UpdateCheckService.h"
#include "persistence/ErrorLogger.h"
#include "persistence/IgnoredVersionsStore.h"
#include "persistence/InstanceStore.h"
#include "persistence/SettingsStore.h"
#include "platform/Desktop.h"
#include "platform/HttpSession.h"
#include "platform/PathMonitor.h"
#include "platform/RepeatingTimer.h"
#include "platform/StatusBar.h"
#include "platform/WallClock.h"
#include "ui/AboutWindowController.h"
#include "ui/ApplicationActions.h"
#include "ui/ErrorLogWindowController.h"
#include "ui/IgnoredListWindowController.h"
#include "ui/LoginItemService.h"
#include "ui/StatusItemController.h"

namespace quorvel {

/// The program's controller: runs the launch sequence, decides when update checks run, holds the state that
/// the menu shows, and carries out what the user chooses. An entry makes one, as a shared pointer, and keeps
/// it until the event loop ends. Main thread.
class AppDelegate final : public ApplicationActions, public std::enable_shared_from_this<AppDelegate> {
public:
    /// What the controller works on; what is held by reference outlives it.
    struct Platform {
        Queue& mainQueue;
        HttpSession& session;
        std::unique_ptr<PathMonitor> pathMonitor;
        StatusBar& statusBar;
        const ImageCatalog& imageCatalog;
        WindowServer& windowServer;
        Alerts& alerts;
        Pasteboard& pasteboard;
        Workspace& workspace;
        LoginItem& loginItem;
        Application& application;
        const PersistenceManager& persistence;
        Environment environment;
        /// By which names are sorted; see NameCollator.
        std::string locale{};
        std::function<std::chrono::steady_clock::time_point()> steadyClock;
        WallClock wallClock;
        std::vector<std::filesystem::path> scanRoots;
        /// The network counts as connected then, whatever the path monitor would say.
        bool skipMonitoring = false;
        std::string catalogURL;
        /// For the end of a process in which an exception went uncaught: objects that nothing else uses.
        struct LastResort {
            Queue& queue;
            HttpSession& session;
            Alerts& alerts;
            /// Called once, during the launch, with what the process is to do with such an exception; that
            /// may be called when the controller is gone.
            std::function<void(std::function<void(const UncaughtException&)>)> setHandler;
            /// Ends the process with a status.
            std::function<void(int)> exit;
        };
        LastResort lastResort;
    };

    explicit AppDelegate(Platform platform);

    /// Shows the status item and starts the launch check.
    void applicationDidFinishLaunching();

    /// False: without its windows the program lives on in the status bar.
    bool applicationShouldTerminateAfterLastWindowClosed() const { return false; }

    /// Starts the log afresh. Runs also when a lost connection has returned.
    void runLaunchCheck();

    /// Does nothing while a check runs.
    void runManualCheck();

    /// Starts a check even while another one runs; the one that ends last sets the state.
    void runBackgroundCheck();

    /// Shows the present state in a new menu.
    void rebuildMenu();

    /// Ignores the update's version and shows it as ignored at once. No check runs.
    void ignoreUpdate(const AppUpdate& update);

    /// Reports the event when the installation is registered; the menu opens the page itself.
    void trackTryDesktop() const;

    void showAbout() override;
    void showErrorLog() override;
    void showIgnoredVersions() override;
    void toggleOpenAtLogin() override;
    const SettingsStore& settingsStore() const override { return stores.settingsStore; }
    StatusItemController* statusItemController() const override {
        return controllers.statusItemController.get();
    }

private:
    using CheckResult = std::expected<UpdateCheckService::Updates, UpdateCheckError>;

    /// The controller's own; they agree with those of the services because none keeps anything in memory.
    struct Stores {
        ErrorLogger errorLogger;
        InstanceStore instanceStore;
        SettingsStore settingsStore;
        IgnoredVersionsStore ignoredVersionsStore;
    };

    /// The status item's is made at launch, each window's when it is first shown; they stay for good.
    struct Controllers {
        std::unique_ptr<StatusItemController> statusItemController;
        std::shared_ptr<AboutWindowController> aboutWindowController;
        std::shared_ptr<ErrorLogWindowController> errorLogWindowController;
        std::shared_ptr<IgnoredListWindowController> ignoredListWindowController;
    };

    static std::shared_ptr<UpdateCheckService> makeUpdateCheckService(Platform& platform);
    OrbistoAPIService makeAPIService() const;

    void installUncaughtExceptionHandler() const;
    void setFetching(bool value);
    void startLaunchLog() const;
    void startCheck(std::string_view trigger, void (AppDelegate::*finish)(CheckResult));

    void finishLaunchCheck(CheckResult result);
    void finishLaterCheck(CheckResult result);
    void finishFetching();

    using LogFailure = void (ErrorLogger::*)(std::string_view) const;
    void keepResult(CheckResult result, LogFailure logFailure);
    void retryWhenConnected();
    void sendCheckErrorReport(const std::string& description) const;
    void startBackgroundTimer();

    /// What calls `operation` on this controller as long as it lives.
    template <typename Operation>
    auto weakly(Operation operation);

    Platform platform;
    const std::shared_ptr<UpdateCheckService> updateCheckService;
    const Stores stores;
    const LoginItemService loginItemService;
    Controllers controllers;

    /// The last finished check failed; then `lastCheckError` is its user-facing text.
    bool lastCheckFailed = false;
    std::optional<std::string> lastCheckError;
    bool isFetching = false;
    /// Of the last check that succeeded, with the ignored ones.
    std::vector<AppUpdate> lastUpdates;
    std::chrono::steady_clock::time_point launchTime;
    std::unique_ptr<RepeatingTimer> backgroundTimer;
};

}  // namespace quorvel
