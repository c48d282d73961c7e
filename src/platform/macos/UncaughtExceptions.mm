#import "platform/macos/UncaughtExceptions.h"

#import <Foundation/Foundation.h>
#include <utility>

#include "platform/macos/CallStack.h"
#import "platform/macos/CocoaText.h"
#import "platform/macos/Kept.h"

/// A call that the main thread is asked for.
@interface QVMainThreadCall : NSObject {
@public
    std::function<void()> function;
}
- (void)run;
@end

@implementation QVMainThreadCall
- (void)run {
    function();
}
@end

namespace quorvel {

namespace {

/// What shows an alert has to run there.
void runOnMainThread(std::function<void()> function) {
    const Kept<QVMainThreadCall> call([[QVMainThreadCall alloc] init]);
    call.get()->function = std::move(function);
    [call.get() performSelectorOnMainThread:@selector(run) withObject:nil waitUntilDone:YES];
}

void endWithSystemException(NSException* exception) {
    UncaughtException report{
        .name = textFrom([exception name]), .reason = std::nullopt, .callStackSymbols = {}};
    if ([exception reason] != nil) report.reason = textFrom([exception reason]);
    for (NSString* line in [exception callStackSymbols])
        report.callStackSymbols.push_back(textFrom(line));
    endWith(report);
}

}  // namespace

void onUncaughtException(std::function<void(const UncaughtException&)> handler) {
    onUncaughtException(callStackReader, [handler = std::move(handler)](const UncaughtException& exception) {
        const Pool pool;
        runOnMainThread([&] { handler(exception); });
    });
    NSSetUncaughtExceptionHandler(&endWithSystemException);
}

}  // namespace quorvel
