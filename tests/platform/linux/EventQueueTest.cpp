#include <array>
#include <csignal>
#include <ctime>
#include <thread>

#include "platform/linux/EventQueue.h"
#include "support/QueueContract.h"

namespace quorvel {
namespace {

using std::chrono::milliseconds;

class EventQueueHost {
public:
    Queue& queue() { return events; }
    void run() { events.run(); }
    void finish() { events.quit(); }
    std::chrono::nanoseconds now() const {
        timespec time{};
        clock_gettime(CLOCK_BOOTTIME, &time);
        return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
    }
    void holdFor(std::chrono::nanoseconds duration) const {
        for (const auto start = now(); now() - start < duration;)
            continue;
    }

private:
    EventQueue events;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Event, QueueContract, EventQueueHost);

TEST(EventQueue, runsWhatManyThreadsPostOnceAndInEachThreadsOrder) {
    constexpr int threads = 4;
    constexpr int each = 25'000;
    EventQueue queue;
    std::array<int, threads> next{};
    int outOfOrder = 0;
    int left = threads * each;
    const auto runner = std::this_thread::get_id();
    std::vector<std::thread> posters;
    for (std::size_t poster = 0; poster < threads; ++poster) {
        posters.emplace_back([&, poster] {
            for (int number = 0; number < each; ++number) {
                queue.post([&, poster, number] {
                    if (next[poster]++ != number || std::this_thread::get_id() != runner) ++outOfOrder;
                    if (--left == 0) queue.quit();
                });
            }
        });
    }
    queue.run();
    for (std::thread& poster : posters)
        poster.join();
    EXPECT_EQ(left, 0);
    EXPECT_EQ(outOfOrder, 0);
}

TEST(EventQueue, letsDelayedTasksRunWhileTasksPostTasksForEver) {
    EventQueue queue;
    std::function<void()> forEver = [&] { queue.post([&] { forEver(); }); };
    forEver();
    bool ranDelayed = false;
    queue.postAfter(milliseconds(1), [&] {
        ranDelayed = true;
        queue.quit();
    });
    queue.run();
    EXPECT_TRUE(ranDelayed);
}

TEST(EventQueue, aShortDelayIsNotHeldUpByALongOneNorByAnEndlessOne) {
    EventQueue queue;
    std::string ran;
    queue.postAfter(std::chrono::nanoseconds::max(), [&] { ran += "never"; });
    queue.postAfter(std::chrono::hours(6), [&] { ran += "late"; });
    queue.postAfter(milliseconds(-5), [&] { ran += "soon"; });
    queue.postAfter(milliseconds(1), [&] { queue.quit(); });
    queue.run();
    EXPECT_EQ(ran, "soon");
}

TEST(EventQueue, quitBeforeRunEndsTheNextRunOnly) {
    EventQueue queue;
    bool ran = false;
    queue.post([&] {
        ran = true;
        queue.quit();
    });
    queue.quit();
    queue.run();
    EXPECT_FALSE(ran);
    queue.run();
    EXPECT_TRUE(ran);
}

TEST(EventQueue, quitOnAnotherThreadWakesAnIdleQueue) {
    EventQueue queue;
    std::thread other;
    queue.post([&] { other = std::thread([&] { queue.quit(); }); });
    queue.run();
    other.join();
}

TEST(EventQueue, runsTheSignalsTaskOnTheQueueEachTime) {
    EventQueue queue;
    const auto runner = std::this_thread::get_id();
    int received = 0;
    queue.onSignal(SIGUSR1, [&] {
        EXPECT_EQ(std::this_thread::get_id(), runner);
        ++received == 2 ? queue.quit() : static_cast<void>(raise(SIGUSR1));
    });
    // Sent by a thread that was started later, to the process.
    std::thread sender([] { kill(getpid(), SIGUSR1); });
    sender.join();
    EXPECT_EQ(received, 0);
    queue.run();
    EXPECT_EQ(received, 2);
}

TEST(EventQueue, runsASignalsTaskThatThrowsLikeAnyOther) {
    EventQueue queue;
    queue.onSignal(SIGUSR2, [] { throw std::runtime_error("broken signal task"); });
    raise(SIGUSR2);
    EXPECT_THROW(queue.run(), std::runtime_error);
    queue.post([&] { queue.quit(); });
    queue.run();
}

/// Posts when it is destroyed, as an owner that reports its end does: a task that holds another last word.
struct LastWord {
    LastWord(Queue& target, int wordsToCome) : queue(target), left(wordsToCome) {}
    LastWord(const LastWord&) = delete;
    LastWord& operator=(const LastWord&) = delete;
    ~LastWord() {
        if (left == 0) return;
        queue.post([word = std::make_unique<LastWord>(queue, left - 1)] { FAIL() << "ran"; });
        queue.postAfter(milliseconds(0),
                        [word = std::make_unique<LastWord>(queue, left - 1)] { FAIL() << "ran"; });
    }
    Queue& queue;
    int left;
};

TEST(EventQueue, droppedTasksMayPostWhileTheQueueIsDestroyed) {
    auto queue = std::make_unique<EventQueue>();
    queue->post([word = std::make_unique<LastWord>(*queue, 3)] { FAIL() << "ran"; });
    queue->postAfter(milliseconds(1), [word = std::make_unique<LastWord>(*queue, 3)] { FAIL() << "ran"; });
    queue.reset();
}

}  // namespace
}  // namespace quorvel
