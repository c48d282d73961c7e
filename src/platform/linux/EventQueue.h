#pragma once

#include <atomic>
#include <deque>
#include <exception>
#include <list>
#include <map>
#include <mutex>

#include "platform/FileDescriptor.h"
#include "platform/Queue.h"
#include "platform/linux/EventSource.h"

namespace quorvel {

/// The main queue: an sd-event loop on the thread that calls `run`. Owned by an entry, which outlives all
/// that posts to it. Sleeps until there is something to do; nothing in it ticks.
class EventQueue final : public Queue {
public:
    EventQueue();
    ~EventQueue() override;
    EventQueue(const EventQueue&) = delete;
    EventQueue& operator=(const EventQueue&) = delete;

    void post(Task task) override;

    /// Time that the machine spends suspended counts. A task may run late by a hundredth of its delay, 250 ms
    /// at the most, so that wake-ups can be shared; those that fall due together run in the order of their
    /// due times.
    void postAfter(std::chrono::nanoseconds delay, Task task) override;

    /// Runs `task` on the queue each time the process receives signal `number`. Blocks the signal in the
    /// calling thread and so in the threads, and the programs, started from it later: call it before the
    /// first thread starts, and give a child an empty signal mask. Only on the queue's own thread.
    void onSignal(int number, std::function<void()> task);

    /// Runs tasks until `quit`. What a task throws comes out of here; the tasks still waiting then run in the
    /// next `run`.
    void run();

    /// Ends the `run` under way after the task at hand, or the next `run` before its first. Any thread.
    void quit();

    /// The loop itself, for sources that are more than tasks, such as a bus connection. Exceptions must not
    /// leave the callbacks of such a source.
    sd_event* event() const { return loop.get(); }

private:
    struct DelayedTask {
        std::chrono::nanoseconds slack;
        Task task;
    };

    struct SignalHandler {
        EventQueue& queue;
        std::function<void()> task;
        EventSource source;
    };

    void addWakeSource();
    void addTimerSource();
    void wake();
    void runNext();
    void postDue();
    void armTimer();
    template <typename Work>
    int contain(Work work) noexcept;

    EventLoop loop;
    std::exception_ptr failure;
    std::atomic<bool> quitting = false;

    std::mutex mutex;
    /// Outlives the tasks.
    bool isClosed = false;
    std::deque<Task> waiting;
    /// An eventfd, readable as long as `waiting` holds something.
    FileDescriptor wakeSignal;
    EventSource wakeSource;

    /// By due time on CLOCK_BOOTTIME; of two that are due together, the one posted first comes first.
    std::multimap<std::chrono::nanoseconds, DelayedTask> delayed;
    EventSource timerSource;

    std::list<SignalHandler> signalHandlers;
};

}  // namespace quorvel
