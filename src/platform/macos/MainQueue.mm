#import "platform/macos/MainQueue.h"

#import <AppKit/AppKit.h>
#include <utility>

#import "platform/macos/Kept.h"
#include "platform/macos/WaitingTasks.h"

/// What the run loop calls, and keeps until it has; does nothing once the queue has gone.
@interface QVQueueRunner : NSObject {
@public
    std::weak_ptr<quorvel::WaitingTasks> tasks;
}
- (void)runNext;
- (void)runDue;
- (void)runDueAfter:(std::chrono::nanoseconds)delay;
@end

namespace {

/// Of the run loop: the usual one, that of an alert, and that of an open menu.
NSArray* modes() {
    return @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ];
}

}  // namespace

@implementation QVQueueRunner
- (void)runNext {
    if (const auto alive = tasks.lock()) alive->runNext();
}
- (void)runDue {
    const auto alive = tasks.lock();
    if (!alive) return;
    if (const auto rest = alive->runDue()) [self runDueAfter:*rest];
}
- (void)runDueAfter:(std::chrono::nanoseconds)delay {
    [self performSelector:@selector(runDue)
               withObject:nil
               afterDelay:std::chrono::duration<double>(delay).count()
                  inModes:modes()];
}
@end

namespace quorvel {

struct MainQueue::State {
    State() : runner([[QVQueueRunner alloc] init]) { runner.get()->tasks = tasks; }

    const std::shared_ptr<WaitingTasks> tasks = std::make_shared<WaitingTasks>();
    const Kept<QVQueueRunner> runner;
};

MainQueue::MainQueue() : state(std::make_unique<State>()) {}

MainQueue::~MainQueue() {
    stop();
    state->tasks->drop();
}

void MainQueue::stop() {
    state->tasks->stop();
}

/// Each task brings a call of its own, so that the tasks after one that shows an alert run beside it.
void MainQueue::post(Task task) {
    const Pool pool;
    state->tasks->add(std::move(task));
    QVQueueRunner* const runner = state->runner.get();
    if ([NSThread isMainThread])
        [runner performSelector:@selector(runNext) withObject:nil afterDelay:0 inModes:modes()];
    else
        [runner performSelectorOnMainThread:@selector(runNext) withObject:nil waitUntilDone:NO modes:modes()];
}

void MainQueue::postAfter(std::chrono::nanoseconds delay, Task task) {
    const Pool pool;
    state->tasks->addDelayed(delay, std::move(task));
    [state->runner.get() runDueAfter:delay];
}

}  // namespace quorvel
