#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include "platform/macos/CocoaAlerts.h"
#include "platform/macos/MainQueue.h"
#import "platform/macos/Toolkit.h"
#include "platform/macos/UncaughtExceptions.h"

namespace quorvel {
namespace {

void throwSystemException() {
    NSException* const exception = [NSException exceptionWithName:@"Odd" reason:@"strange" userInfo:nil];
    NSGetUncaughtExceptionHandler()(exception);
}

/// An alert tells of it, for which the main thread goes on.
TEST(UncaughtExceptions, endTheProcessOnceTheirAlertIsDismissed) {
    const struct {
        const char* said;
        void (*fail)();
    } rows[] = {{"std::out_of_range: far away, thrown at .* in platform_macos_tests",
                 [] { throw std::out_of_range("far away"); }},
                {"std::out_of_range: far away",
                 [] { std::thread([] { throw std::out_of_range("far away"); }).detach(); }},
                {"Odd: strange", throwSystemException}};
    for (const auto& [said, fail] : rows) {
        const auto story = [act = fail] {
            toolkit::start();
            MainQueue user;
            CocoaAlerts alerts;
            onUncaughtException([&](const UncaughtException& exception) {
                user.post([] { toolkit::press("OK", [NSApp modalWindow]); });
                bool isDismissed = false;
                alerts.runAlert("Sorry.", exception.name, [&] { isDismissed = true; });
                const auto& stack = exception.callStackSymbols;
                std::fprintf(stderr, "%s: %s, thrown at %s\n",
                             isDismissed ? exception.name.c_str() : "no alert",
                             exception.reason.value_or("no reason").c_str(),
                             stack.empty() ? "" : stack.front().c_str());
            });
            user.post([act] { act(); });
            [NSApp run];
        };
        EXPECT_EXIT(story(), testing::ExitedWithCode(1), said);
    }
}

}  // namespace
}  // namespace quorvel
