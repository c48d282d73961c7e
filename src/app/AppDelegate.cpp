#include "app/AppDelegate.h"

#include <cmath>
#include <utility>

#include "check/Chunks.h"
#include "check/TrackingEvent.h"
#include "platform/OperatingSystem.h"
#include "platform/Weakly.h"
#include "scanner/AppScannerService.h"
#include "ui/MenuBuilder.h"
#include "versions/VersionComparator.h"

namespace quorvel {

namespace {

constexpr std::chrono::hours backgroundInterval{6};
constexpr const char* noConnectionText = "No internet connection.";

ErrorLogger makeErrorLogger(const AppDelegate::Platform& platform) {
    return ErrorLogger(platform.persistence, platform.wallClock);
}

/// With two decimals and a point, whatever the locale.
std::string secondsText(std::chrono::duration<double> duration) {
    const auto hundredths = std::llround(duration.count() * 100);
    const auto text = std::to_string(hundredths % 100);
    return std::to_string(hundredths / 100) + (text.size() == 1 ? ".0" : ".") + text;
}

}  // namespace

AppDelegate::AppDelegate(Platform givenPlatform)
    : platform(std::move(givenPlatform)),
      updateCheckService(makeUpdateCheckService(platform)),
      stores{.errorLogger = makeErrorLogger(platform),
             .instanceStore = InstanceStore(platform.persistence),
             .settingsStore = SettingsStore(platform.persistence),
             .ignoredVersionsStore = IgnoredVersionsStore(platform.persistence)},
      loginItemService(SettingsStore(platform.persistence), platform.loginItem),
      launchTime(platform.steadyClock()) {}

std::shared_ptr<UpdateCheckService> AppDelegate::makeUpdateCheckService(Platform& platform) {
    return std::make_shared<UpdateCheckService>(UpdateCheckService::Parts{
        .scanner = std::make_unique<AppScannerService>(platform.scanRoots,
                                                       platform.environment.program.bundleIdentifier),
        .api = std::make_unique<OrbistoAPIService>(platform.session, platform.mainQueue, platform.environment,
                                                   platform.catalogURL),
        .versionComparator = std::make_unique<VersionComparator>(),
        .instanceStore = InstanceStore(platform.persistence),
        .firstRunStore = FirstRunStore(platform.persistence),
        .ignoredVersionsStore = IgnoredVersionsStore(platform.persistence),
        .errorLogger = makeErrorLogger(platform),
        .connectivity =
            std::make_unique<ConnectivityService>(std::move(platform.pathMonitor), platform.skipMonitoring),
        .interChunkDelay = interChunkDelay,
        .environment = platform.environment,
        .mainQueue = platform.mainQueue,
        .locale = platform.locale});
}

OrbistoAPIService AppDelegate::makeAPIService() const {
    return OrbistoAPIService(platform.session, platform.mainQueue, platform.environment, platform.catalogURL);
}

template <typename Operation>
auto AppDelegate::weakly(Operation operation) {
    return quorvel::weakly(shared_from_this(), operation);
}

// Launch

void AppDelegate::applicationDidFinishLaunching() {
    launchTime = platform.steadyClock();
    installUncaughtExceptionHandler();
    auto& statusItem = controllers.statusItemController;
    statusItem = std::make_unique<StatusItemController>(platform.statusBar, platform.imageCatalog);
    statusItem->updateIcon(stores.settingsStore.load().colorIcon);
    // The first menu shows no check.
    rebuildMenu();
    runLaunchCheck();
}

void AppDelegate::installUncaughtExceptionHandler() const {
    const auto& [queue, session, alerts, setHandler, exit] = platform.lastResort;
    UncaughtExceptionHandler handler(
        makeErrorLogger(platform), InstanceStore(platform.persistence),
        OrbistoAPIService(session, queue, platform.environment, platform.catalogURL), alerts, exit);
    setHandler([handler](const UncaughtException& exception) mutable { handler.handle(exception); });
}

void AppDelegate::startLaunchLog() const {
    const auto instanceId = stores.instanceStore.load();
    const std::string header =
        "Quorvel " + appVersionString(platform.environment) +
        "\nInstance: " + (instanceId ? std::to_string(*instanceId) : "not registered") +
        "\nPlatform: " + machineName() + "\nOS: " + osVersionString(platform.environment);
    stores.errorLogger.resetWithHeader(header);
    stores.errorLogger.appendRaw("---");
    stores.errorLogger.log("Launch started");
}

// Checks

void AppDelegate::runLaunchCheck() {
    // The menu is left alone: the one before shows no running check.
    setFetching(true);
    startLaunchLog();
    startCheck("launch", &AppDelegate::finishLaunchCheck);
}

void AppDelegate::runManualCheck() {
    if (isFetching) return;
    setFetching(true);
    rebuildMenu();
    startCheck("manual", &AppDelegate::finishLaterCheck);
}

void AppDelegate::runBackgroundCheck() {
    setFetching(true);
    rebuildMenu();
    startCheck("background", &AppDelegate::finishLaterCheck);
}

void AppDelegate::startCheck(std::string_view trigger, void (AppDelegate::*finish)(CheckResult)) {
    UpdateCheckService::Completion completion = weakly(finish);
    if (!updateCheckService->connectivity().isConnected()) {
        completion(std::unexpected(UpdateCheckError{UpdateCheckError::NoInternet{}}));
        return;
    }
    updateCheckService->scanAndCheck(trigger, std::move(completion));
}

void AppDelegate::finishLaunchCheck(CheckResult result) {
    keepResult(std::move(result), &ErrorLogger::log);
    const auto duration = platform.steadyClock() - launchTime;
    stores.errorLogger.appendRaw("---");
    stores.errorLogger.log("Launch check completed in " + secondsText(duration) + "s");
    finishFetching();
    startBackgroundTimer();
}

/// After the launch, a failure replaces the log instead of ending the one that the launch began.
void AppDelegate::finishLaterCheck(CheckResult result) {
    keepResult(std::move(result), &ErrorLogger::resetWithEntry);
    finishFetching();
}

void AppDelegate::finishFetching() {
    setFetching(false);
    rebuildMenu();
}

void AppDelegate::keepResult(CheckResult result, LogFailure logFailure) {
    lastCheckFailed = !result;
    lastCheckError.reset();
    if (result) {
        lastUpdates = std::move(*result);
    } else if (std::holds_alternative<UpdateCheckError::NoInternet>(result.error().kind)) {
        lastCheckError = noConnectionText;
        stores.errorLogger.appendRaw("---");
        stores.errorLogger.log(noConnectionText);
        retryWhenConnected();
    } else {
        lastCheckError = description(result.error());
        (stores.errorLogger.*logFailure)(*lastCheckError);
        sendCheckErrorReport(*lastCheckError);
    }
}

/// The monitor calls on its own queue, where nothing of the controller may be touched, not even its last
/// reference.
void AppDelegate::retryWhenConnected() {
    updateCheckService->connectivity().setOnConnectivityRestored(
        [&mainQueue = platform.mainQueue, retry = weakly(&AppDelegate::runLaunchCheck)] {
            mainQueue.post(retry);
        });
}

void AppDelegate::sendCheckErrorReport(const std::string& description) const {
    const auto instanceId = stores.instanceStore.load();
    if (!instanceId) return;
    const std::string log = stores.errorLogger.text();
    makeAPIService().reportError(description, *instanceId, log.empty() ? std::nullopt : std::optional(log),
                                 [](const auto&) {});
}

void AppDelegate::startBackgroundTimer() {
    backgroundTimer = std::make_unique<RepeatingTimer>(platform.mainQueue, backgroundInterval,
                                                       weakly(&AppDelegate::runBackgroundCheck));
}

// What is shown

void AppDelegate::setFetching(bool value) {
    isFetching = value;
    if (controllers.statusItemController) controllers.statusItemController->setFetching(value);
}

void AppDelegate::rebuildMenu() {
    const MenuContext context{.delegate = weak_from_this(),
                              .workspace = platform.workspace,
                              .alerts = platform.alerts,
                              .application = platform.application,
                              .loginItem = platform.loginItem,
                              .persistence = platform.persistence};
    auto menu = MenuBuilder::buildMenu(context, lastUpdates, stores.settingsStore.load(), isFetching,
                                       lastCheckFailed, lastCheckError, weakly(&AppDelegate::runManualCheck),
                                       weakly(&AppDelegate::ignoreUpdate), weakly(&AppDelegate::rebuildMenu),
                                       weakly(&AppDelegate::trackTryDesktop));
    if (controllers.statusItemController)
        controllers.statusItemController->statusItem->setMenu(std::move(menu));
}

// User actions

void AppDelegate::ignoreUpdate(const AppUpdate& update) {
    stores.ignoredVersionsStore.ignore(update.latestVersion, update.app.name, update.app.bundleID);
    for (auto& entry : lastUpdates) {
        if (entry.app.bundleID == update.app.bundleID && entry.latestVersion == update.latestVersion) {
            entry.isIgnored = true;
        }
    }
    rebuildMenu();
}

void AppDelegate::toggleOpenAtLogin() {
    Settings settings = stores.settingsStore.load();
    settings.openAtLogin = !settings.openAtLogin;
    stores.settingsStore.save(settings);
    loginItemService.setEnabled(settings.openAtLogin);
}

void AppDelegate::trackTryDesktop() const {
    const auto instanceId = stores.instanceStore.load();
    if (!instanceId) return;
    auto api = makeAPIService();
    sendTrackingEvent(api, platform.environment, *instanceId, "try_desktop");
}

void AppDelegate::showAbout() {
    auto& controller = controllers.aboutWindowController;
    if (!controller) {
        controller = makeWindowController<AboutWindowController>(
            platform.windowServer, platform.environment.program, InstanceStore(platform.persistence),
            platform.workspace);
    }
    controller->showWindow();
}

void AppDelegate::showErrorLog() {
    auto& controller = controllers.errorLogWindowController;
    if (!controller) {
        controller = makeWindowController<ErrorLogWindowController>(platform.windowServer, stores.errorLogger,
                                                                    platform.pasteboard);
    }
    controller->showWindow();
}

void AppDelegate::showIgnoredVersions() {
    auto& controller = controllers.ignoredListWindowController;
    if (!controller) {
        controller = makeWindowController<IgnoredListWindowController>(
            platform.windowServer, stores.ignoredVersionsStore, platform.locale,
            weakly(&AppDelegate::rebuildMenu));
    }
    controller->showWindow();
}

}  // namespace quorvel
