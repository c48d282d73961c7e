#include <csignal>
#include <ctime>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/EventQueue.h"

namespace quorvel {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

nanoseconds now() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

TEST(EventQueue, runsTasksInOrderOfPostingAndNeverInsideThePost) {
    EventQueue queue;
    std::string ran;
    queue.post([&] {
        queue.post([&] { ran += "c"; });
        queue.post([&] { queue.quit(); });
        ran += "a";
    });
    queue.post([&] { ran += "b"; });
    EXPECT_EQ(ran, "");
    queue.run();
    EXPECT_EQ(ran, "abc");
}

TEST(EventQueue, runsDelayedTasksInOrderOfDueTimeAndNeverEarly) {
    struct Delayed {
        /// Between which the due time lies: as long as the call took, however often it was interrupted.
        nanoseconds earliest, latest;
    };
    // Falling due one by one, and all while the thread is busy.
    for (const bool together : {false, true}) {
        EventQueue queue;
        std::vector<Delayed> posted, ran;
        queue.post([&] {
            for (const int delay : {3, 2, 1, 2, -5}) {
                const auto number = posted.size();
                const auto earliest = now() + milliseconds(std::max(delay, 0));
                queue.postAfter(milliseconds(delay), [&, number] {
                    EXPECT_GE(now(), posted[number].earliest);
                    ran.push_back(posted[number]);
                });
                posted.push_back({earliest, now() + milliseconds(std::max(delay, 0))});
            }
            queue.postAfter(milliseconds(3), [&] { queue.quit(); });
            EXPECT_TRUE(ran.empty());
            for (const auto start = now(); together && now() - start < milliseconds(4);)
                continue;
        });
        // Neither holds up what is due earlier.
        queue.postAfter(nanoseconds::max(), [] { FAIL() << "ran"; });
        queue.postAfter(std::chrono::hours(6), [] { FAIL() << "ran"; });
        queue.run();
        ASSERT_EQ(ran.size(), posted.size());
        for (std::size_t place = 1; place < ran.size(); ++place)
            EXPECT_LE(ran[place - 1].earliest, ran[place].latest) << place << ", due together: " << together;
    }
}

TEST(EventQueue, whatATaskThrowsLeavesRunAndTheOthersRunNextTime) {
    EventQueue queue;
    std::string ran;
    queue.onSignal(SIGUSR2, [] { throw std::runtime_error("broken signal task"); });
    raise(SIGUSR2);
    EXPECT_THROW(queue.run(), std::runtime_error);
    queue.post([] { throw std::runtime_error("broken task"); });
    queue.post([&] { ran += "a"; });
    queue.post([&] { queue.quit(); });
    EXPECT_THROW(queue.run(), std::runtime_error);
    EXPECT_EQ(ran, "");
    queue.run();
    EXPECT_EQ(ran, "a");
}

TEST(EventQueue, runsWhatManyThreadsPostOnceAndInEachThreadsOrder) {
    constexpr int threads = 4;
    constexpr int each = 1'000;
    EventQueue queue;
    std::vector<int> next(threads);
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
