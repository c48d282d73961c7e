#include "platform/linux/EventQueue.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>

namespace quorvel {

namespace {

using std::chrono::microseconds;
using std::chrono::nanoseconds;

constexpr nanoseconds maxSlack = std::chrono::milliseconds(250);

nanoseconds bootTime() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

nanoseconds later(nanoseconds time, nanoseconds delay) {
    return delay > nanoseconds::max() - time ? nanoseconds::max() : time + delay;
}

}  // namespace

EventQueue::EventQueue() {
    require(sd_event_new(OutPtr(loop)), "Could not make an event loop");
    addWakeSource();
    addTimerSource();
}

EventQueue::~EventQueue() {
    // Dropping a task destroys what it captured, which may post once more: from here on that does nothing.
    const std::lock_guard lock(mutex);
    isClosed = true;
}

void EventQueue::addWakeSource() {
    wakeSignal = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wakeSignal)
        throw std::system_error(errno, std::generic_category(), "Could not make an event counter");
    const auto readable = [](sd_event_source*, int, std::uint32_t, void* data) {
        auto& queue = *static_cast<EventQueue*>(data);
        return queue.contain([&] { queue.runNext(); });
    };
    require(sd_event_add_io(event(), OutPtr(wakeSource), wakeSignal.get(), EPOLLIN, readable, this),
            "Could not watch the event counter");
}

void EventQueue::addTimerSource() {
    const auto expired = [](sd_event_source*, std::uint64_t, void* data) {
        auto& queue = *static_cast<EventQueue*>(data);
        return queue.contain([&] { queue.postDue(); });
    };
    require(sd_event_add_time(event(), OutPtr(timerSource), CLOCK_BOOTTIME, 0, 1, expired, this),
            "Could not make a timer");
    armTimer();
}

/// C code lies between a callback and `run`, and an exception cannot cross it.
template <typename Work>
int EventQueue::contain(Work work) noexcept {
    try {
        work();
    } catch (...) {
        failure = std::current_exception();
    }
    return 0;
}

void EventQueue::post(Task task) {
    const std::lock_guard lock(mutex);
    if (isClosed) return;
    waiting.push_back(std::move(task));
    // Written under the lock: a task may end the queue's life, and does not run before the lock is free.
    if (waiting.size() == 1) wake();
}

void EventQueue::wake() {
    eventfd_write(wakeSignal.get(), 1);
}

/// One task a turn of the loop: timers and the other sources get their turn in between, and a task that
/// throws or quits leaves the rest as they are.
void EventQueue::runNext() {
    Task task;
    {
        const std::lock_guard lock(mutex);
        if (!waiting.empty()) {
            task = std::move(waiting.front());
            waiting.pop_front();
        }
        eventfd_t ignored = 0;
        if (waiting.empty()) eventfd_read(wakeSignal.get(), &ignored);
    }
    if (task) task();
}

void EventQueue::postAfter(nanoseconds delay, Task task) {
    if (isClosed) return;
    delay = std::max(delay, nanoseconds::zero());
    delayed.emplace(later(bootTime(), delay), DelayedTask{std::min(delay / 100, maxSlack), std::move(task)});
    armTimer();
}

void EventQueue::postDue() {
    for (const nanoseconds now = bootTime(); !delayed.empty() && delayed.begin()->first <= now;) {
        post(std::move(delayed.extract(delayed.begin()).mapped().task));
    }
    armTimer();
}

/// One source serves all delayed tasks, because sd-event runs timers that are due together in no order.
void EventQueue::armTimer() {
    if (delayed.empty()) {
        require(sd_event_source_set_enabled(timerSource.get(), SD_EVENT_OFF), "Could not stop the timer");
        return;
    }
    const nanoseconds earliest = delayed.begin()->first;
    nanoseconds latest = nanoseconds::max();
    for (const auto& [due, task] : delayed) {
        if (due > latest) break;
        latest = std::min(latest, later(due, task.slack));
    }
    const auto time = std::chrono::ceil<microseconds>(earliest).count();
    // An accuracy of 0 would stand for sd-event's default of 250 ms.
    const auto accuracy = std::max<microseconds::rep>(1, (latest - earliest) / microseconds(1));
    require(sd_event_source_set_time(timerSource.get(), static_cast<std::uint64_t>(time)),
            "Could not set the timer");
    require(sd_event_source_set_time_accuracy(timerSource.get(), static_cast<std::uint64_t>(accuracy)),
            "Could not set the timer's accuracy");
    require(sd_event_source_set_enabled(timerSource.get(), SD_EVENT_ONESHOT), "Could not start the timer");
}

void EventQueue::onSignal(int number, std::function<void()> task) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, number);
    require(-pthread_sigmask(SIG_BLOCK, &signals, nullptr), "Could not block a signal");
    auto& handler = signalHandlers.emplace_back(*this, std::move(task), EventSource());
    const auto received = [](sd_event_source*, const signalfd_siginfo*, void* data) {
        auto& self = *static_cast<SignalHandler*>(data);
        return self.queue.contain([&] { self.queue.post([&self] { self.task(); }); });
    };
    require(sd_event_add_signal(event(), OutPtr(handler.source), number, received, &handler),
            "Could not watch a signal");
}

void EventQueue::run() {
    // Not sd_event_loop: a loop that has left that can never be entered again.
    while (!quitting.exchange(false)) {
        require(sd_event_run(event(), UINT64_MAX), "The event loop failed");
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
    }
}

void EventQueue::quit() {
    const std::lock_guard lock(mutex);
    quitting = true;
    wake();
}

}  // namespace quorvel
