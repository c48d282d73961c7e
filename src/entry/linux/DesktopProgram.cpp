#include "entry/linux/DesktopProgram.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <malloc.h>
#include <memory>
#include <string_view>
#include <unistd.h>

#include "app/AppDelegate.h"
#include "platform/AnnouncedPathMonitor.h"
#include "platform/System.h"
#include "platform/linux/EventQueue.h"
#include "platform/linux/UncaughtExceptions.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/desktop/AutostartEntry.h"
#include "platform/linux/desktop/DesktopStatusBar.h"
#include "platform/linux/desktop/DesktopWorkspace.h"
#include "platform/linux/desktop/RunningInstance.h"
#include "platform/linux/icons/BundleIcons.h"
#include "platform/linux/network/NetlinkPathMonitor.h"
#include "platform/linux/painter/PainterChannel.h"
#include "platform/linux/statusitem/ImageResources.h"
#include "platform/posix/http/CatalogAddress.h"
#include "platform/posix/http/CurlSession.h"
#include "platform/posix/process/DetachedProgram.h"

namespace quorvel {

namespace {

/// By this name on its bus, a session knows the one instance that it has.
constexpr const char* busName = "com.ob.quorvel";
/// How long launching waits for the first report on the network path: a check that began before it would fail
/// on a machine that is online.
constexpr std::chrono::seconds pathTimeout{1};
/// How long a report of the program's own end may keep it from ending.
constexpr std::chrono::seconds reportTimeout{5};

/// What a start can ask for, beside "quit".
constexpr std::pair<std::string_view, void (AppDelegate::*)()> actions[] = {
    {"check-for-updates", &AppDelegate::runManualCheck},
    {"show-error-log", &AppDelegate::showErrorLog},
    {"ignored-versions", &AppDelegate::showIgnoredVersions},
    {"about", &AppDelegate::showAbout}};

/// What the desktop gave this start. It is used once, so that nothing which this process starts finds it.
/// Before there are threads.
std::string consumeActivationToken() {
    std::string token;
    for (const char* const variable : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
        const char* const value = getenv(variable);
        if (value != nullptr && token.empty()) token = value;
        unsetenv(variable);
    }
    return token;
}

std::vector<std::string> commandAtLogin(const DesktopConfiguration& configuration) {
    std::vector<std::string> command{std::filesystem::read_symlink("/proc/self/exe").string()};
    command.insert(command.end(), configuration.optionsAtLogin.begin(), configuration.optionsAtLogin.end());
    return command;
}

class QueueApplication final : public Application {
public:
    explicit QueueApplication(EventQueue& queue) : queue(queue) {}
    void terminate() override { queue.quit(); }

private:
    EventQueue& queue;
};

/// A loop, and what works on it: all that can report an exception, and what everything else is built upon.
struct Base {
    EventQueue queue;
    /// Hours may pass before the next request: what a large answer left free in the heap goes back.
    CurlSession session{{.onIdle = [] { malloc_trim(0); }}};
    PainterChannel painter{queue};
};

/// What stays usable when an exception has left everything else in an unknown state.
class LastResort : Base {
public:
    AppDelegate::Platform::LastResort parts() {
        return {.queue = queue,
                .session = session,
                .alerts = painter,
                .setHandler = [this](auto handler) { install(std::move(handler)); },
                .exit = [this](int) { queue.quit(); }};
    }

private:
    /// The process ends with status 1 when what is installed here returns.
    void install(std::function<void(const UncaughtException&)> handler) {
        onUncaughtException([this, handler = std::move(handler)](const UncaughtException& exception) {
            handler(exception);
            queue.run();
            session.finish(reportTimeout);
        });
    }
};

/// Everything that the running program consists of; what is declared later uses what is declared earlier.
class DesktopProgram : Base {
public:
    explicit DesktopProgram(const DesktopConfiguration& configuration)
        : statusBar(bus, painter, &icons),
          workspace(bus, [](const auto& arguments) { startDetached(arguments); }),
          loginItem(AutostartEntry::standardFolder(), commandAtLogin(configuration)),
          skipsMonitoring(isOnThisMachine(configuration.catalogURL)) {
        // Before anything starts a thread, which would otherwise take the signals.
        for (const int number : {SIGTERM, SIGINT, SIGHUP})
            queue.onSignal(number, [this] { queue.quit(); });
        std::signal(SIGPIPE, SIG_IGN);
        endWithTheSession();
        if (const auto connected = bus.connect(); !connected) {
            std::fprintf(stderr, "quorvel: There is no session bus, so no panel shows the status item: %s\n",
                         connected.error().c_str());
        }
        makeDelegate(configuration);
    }

    int run(const RunningInstance::Request& request) {
        if (instance.claim() == RunningInstance::Claim::another) return instance.ask(request) ? 0 : 1;
        if (request.action == "quit") return 0;
        if (!request.action.empty()) waiting.push_back(request);
        instance.onRequest([this](const RunningInstance::Request& later) { handle(later); });
        // Else the first report on the path launches it, or its timeout.
        if (skipsMonitoring) queue.post([this] { launch(); });
        serve();
        return 0;
    }

private:
    /// At logout nobody signals a process that has no display of its own.
    void endWithTheSession() {
        bus.onLost([this] { queue.quit(); });
        painter.onDisplayLost([this] {
            if (bus.connection() == nullptr) queue.quit();
        });
    }

    /// Unwinding as far as here frees what the throwing task held before the handler of uncaught exceptions
    /// runs.
    void serve() {
        try {
            queue.run();
        } catch (...) {
            std::terminate();
        }
    }

    void makeDelegate(const DesktopConfiguration& configuration) {
        auto monitor = std::make_unique<AnnouncedPathMonitor>(std::make_unique<NetlinkPathMonitor>(), queue,
                                                              pathTimeout, [this] { launch(); });
        delegate = std::make_shared<AppDelegate>(
            AppDelegate::Platform{.mainQueue = queue,
                                  .session = session,
                                  .pathMonitor = std::move(monitor),
                                  .statusBar = statusBar,
                                  .imageCatalog = images,
                                  .windowServer = painter,
                                  .alerts = painter,
                                  .pasteboard = painter,
                                  .workspace = workspace,
                                  .loginItem = loginItem,
                                  .application = application,
                                  .persistence = configuration.persistence,
                                  .environment = configuration.environment,
                                  .locale = userLocale(),
                                  .steadyClock = [] { return std::chrono::steady_clock::now(); },
                                  .wallClock = std::chrono::system_clock::now,
                                  .scanRoots = configuration.scanRoots,
                                  .skipMonitoring = skipsMonitoring,
                                  .catalogURL = configuration.catalogURL,
                                  .lastResort = lastResort.parts()});
    }

    void launch() {
        isLaunched = true;
        delegate->applicationDidFinishLaunching();
        for (const auto& request : std::exchange(waiting, {}))
            handle(request);
    }

    void handle(const RunningInstance::Request& request) {
        if (!isLaunched) return waiting.push_back(request);
        painter.setActivationToken(request.activationToken);
        if (request.action.empty()) painter.popUpMenu();
        if (request.action == "quit") queue.quit();
        for (const auto& [name, perform] : actions)
            if (name == request.action) (delegate.get()->*perform)();
    }

    LastResort lastResort;
    SessionBus bus{queue};
    RunningInstance instance{bus, busName};
    BundleIcons icons{queue};
    DesktopStatusBar statusBar;
    ImageResources images;
    DesktopWorkspace workspace;
    AutostartEntry loginItem;
    QueueApplication application{queue};
    /// A catalog on this machine needs no network.
    const bool skipsMonitoring;
    bool isLaunched = false;
    /// What was asked for before there is a menu and a window to show.
    std::vector<RunningInstance::Request> waiting;
    std::shared_ptr<AppDelegate> delegate;
};

}  // namespace

bool isDesktopAction(const std::string& action) {
    return action == "quit" ||
           std::ranges::any_of(actions, [&](const auto& one) { return one.first == action; });
}

int runDesktopProgram(const DesktopConfiguration& configuration, const std::string& action) {
    const RunningInstance::Request request{action, consumeActivationToken()};
    return DesktopProgram(configuration).run(request);
}

}  // namespace quorvel
