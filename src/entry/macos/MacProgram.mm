#import "entry/macos/MacProgram.h"

#import <AppKit/AppKit.h>
#include <chrono>
#include <utility>

#include "app/AppDelegate.h"
#include "platform/AnnouncedPathMonitor.h"
#include "platform/macos/BundleImages.h"
#include "platform/macos/CocoaAlerts.h"
#include "platform/macos/CocoaApplication.h"
#include "platform/macos/CocoaPasteboard.h"
#include "platform/macos/CocoaStatusBar.h"
#include "platform/macos/CocoaWindows.h"
#include "platform/macos/CocoaWorkspace.h"
#import "platform/macos/Kept.h"
#include "platform/macos/MainQueue.h"
#include "platform/macos/UncaughtExceptions.h"
#include "platform/posix/http/CatalogAddress.h"
#include "platform/posix/http/CurlSession.h"

namespace quorvel {

namespace {

/// How long launching waits for the first report on the network path: a check that began before it would fail
/// on a machine that is online.
constexpr std::chrono::seconds pathTimeout{1};
/// How long a report of the program's own end may keep it from ending.
constexpr std::chrono::seconds reportTimeout{5};

/// What stays usable when an exception has left everything else in an unknown state. Its alert is modal: the
/// user has dismissed it when the handler returns, and the process ends then.
class LastResort {
public:
    explicit LastResort(MainQueue& ofTheProgram) : ofTheProgram(ofTheProgram) {}

    AppDelegate::Platform::LastResort parts() {
        return {.queue = queue,
                .session = session,
                .alerts = alerts,
                .setHandler = [this](auto handler) { install(std::move(handler)); },
                .exit = [](int) {}};
    }

private:
    void install(std::function<void(const UncaughtException&)> handler) {
        onUncaughtException([this, handler = std::move(handler)](const UncaughtException& exception) {
            ofTheProgram.stop();
            handler(exception);
            session.finish(reportTimeout);
        });
    }

    MainQueue& ofTheProgram;
    MainQueue queue;
    CurlSession session;
    CocoaAlerts alerts;
};

/// Everything that the running program consists of; what is declared later uses what is declared earlier.
class MacProgram {
public:
    explicit MacProgram(MacConfiguration configuration) : persistence(configuration.persistence) {
        const bool skipsMonitoring = isOnThisMachine(configuration.catalogURL);
        auto monitor = std::make_unique<AnnouncedPathMonitor>(std::move(configuration.pathMonitor), queue,
                                                              pathTimeout, [this] { launch(); });
        delegate = std::make_shared<AppDelegate>(
            AppDelegate::Platform{.mainQueue = queue,
                                  .session = session,
                                  .pathMonitor = std::move(monitor),
                                  .statusBar = statusBar,
                                  .imageCatalog = images,
                                  .windowServer = windows,
                                  .alerts = alerts,
                                  .pasteboard = pasteboard,
                                  .workspace = workspace,
                                  .loginItem = configuration.loginItem,
                                  .application = application,
                                  .persistence = persistence,
                                  .environment = configuration.environment,
                                  .locale = configuration.locale,
                                  .steadyClock = [] { return std::chrono::steady_clock::now(); },
                                  .wallClock = std::chrono::system_clock::now,
                                  .scanRoots = configuration.scanRoots,
                                  .skipMonitoring = skipsMonitoring,
                                  .catalogURL = configuration.catalogURL,
                                  .lastResort = lastResort.parts()});
        if (skipsMonitoring) queue.post([this] { launch(); });
    }

    bool shouldTerminateAfterLastWindowClosed() const {
        return delegate->applicationShouldTerminateAfterLastWindowClosed();
    }

private:
    void launch() { delegate->applicationDidFinishLaunching(); }

    MainQueue queue;
    LastResort lastResort{queue};
    CurlSession session;
    CocoaStatusBar statusBar;
    BundleImages images;
    CocoaWindowServer windows;
    CocoaAlerts alerts;
    CocoaPasteboard pasteboard;
    CocoaWorkspace workspace;
    CocoaApplication application;
    const PersistenceManager persistence;
    std::shared_ptr<AppDelegate> delegate;
};

}  // namespace

}  // namespace quorvel

/// The delegate of the application object.
@interface QVApplicationDelegate : NSObject <NSApplicationDelegate> {
@public
    std::unique_ptr<quorvel::MacProgram> program;
}
@end

@implementation QVApplicationDelegate
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)sender {
    return program->shouldTerminateAfterLastWindowClosed();
}

/// The process ends without unwinding: what has threads of its own must end before.
- (void)applicationWillTerminate:(NSNotification*)notification {
    program.reset();
}
@end

namespace quorvel {

void runMacProgram(MacConfiguration configuration) {
    const Pool pool;
    NSApplication* const application = [NSApplication sharedApplication];
    const Kept<QVApplicationDelegate> delegate([[QVApplicationDelegate alloc] init]);
    delegate.get()->program = std::make_unique<MacProgram>(std::move(configuration));
    [application setDelegate:delegate.get()];
    [application run];
}

}  // namespace quorvel
