#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Queue.h"

namespace quorvel {

/// What every main queue does, whose `run` runs tasks until `quit`: made for each adapter with
/// INSTANTIATE_TYPED_TEST_SUITE_P(Adapter, QueueContract, Adapter).
template <typename MainQueue>
class QueueContract : public testing::Test {};

TYPED_TEST_SUITE_P(QueueContract);

/// Posts when it is destroyed, as an owner that reports its end does: a task that holds another last word.
struct LastWord {
    LastWord(Queue& target, int wordsToCome) : queue(target), left(wordsToCome) {}
    LastWord(const LastWord&) = delete;
    LastWord& operator=(const LastWord&) = delete;
    ~LastWord() {
        if (left == 0) return;
        queue.post([word = std::make_unique<LastWord>(queue, left - 1)] { FAIL() << "ran"; });
        queue.postAfter(std::chrono::milliseconds(0),
                        [word = std::make_unique<LastWord>(queue, left - 1)] { FAIL() << "ran"; });
    }
    Queue& queue;
    int left;
};

TYPED_TEST_P(QueueContract, runsTasksInOrderOfPostingAndNeverInsideThePost) {
    TypeParam queue;
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

TYPED_TEST_P(QueueContract, runsDelayedTasksInOrderOfDueTimeAndNeverEarly) {
    using Clock = std::chrono::steady_clock;
    struct Delayed {
        /// Between which the due time lies: as long as the call took, however often it was interrupted.
        Clock::time_point earliest, latest;
    };
    // Falling due one by one, and all while the thread is busy.
    for (const bool together : {false, true}) {
        TypeParam queue;
        std::vector<Delayed> posted, ran;
        queue.post([&] {
            for (const int delay : {3, 2, 1, 2, -5}) {
                const auto number = posted.size();
                const auto earliest = Clock::now() + std::chrono::milliseconds(std::max(delay, 0));
                queue.postAfter(std::chrono::milliseconds(delay), [&, number] {
                    EXPECT_GE(Clock::now(), posted[number].earliest);
                    ran.push_back(posted[number]);
                });
                posted.push_back({earliest, Clock::now() + std::chrono::milliseconds(std::max(delay, 0))});
            }
            queue.postAfter(std::chrono::milliseconds(3), [&] { queue.quit(); });
            EXPECT_TRUE(ran.empty());
            for (const auto start = Clock::now();
                 together && Clock::now() - start < std::chrono::milliseconds(4);)
                continue;
        });
        // Neither holds up what is due earlier.
        queue.postAfter(std::chrono::nanoseconds::max(), [] { FAIL() << "ran"; });
        queue.postAfter(std::chrono::hours(6), [] { FAIL() << "ran"; });
        queue.run();
        ASSERT_EQ(ran.size(), posted.size());
        for (std::size_t place = 1; place < ran.size(); ++place)
            EXPECT_LE(ran[place - 1].earliest, ran[place].latest) << place << ", due together: " << together;
    }
}

TYPED_TEST_P(QueueContract, runsWhatManyThreadsPostOnceAndInEachThreadsOrder) {
    constexpr int threads = 4;
    constexpr int each = 1'000;
    TypeParam queue;
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

TYPED_TEST_P(QueueContract, letsDelayedTasksRunWhileTasksPostTasksForEver) {
    TypeParam queue;
    std::function<void()> forEver = [&] { queue.post([&] { forEver(); }); };
    forEver();
    bool ranDelayed = false;
    queue.postAfter(std::chrono::milliseconds(1), [&] {
        ranDelayed = true;
        queue.quit();
    });
    queue.run();
    EXPECT_TRUE(ranDelayed);
}

TYPED_TEST_P(QueueContract, quitBeforeRunEndsTheNextRunOnly) {
    TypeParam queue;
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

TYPED_TEST_P(QueueContract, quitOnAnotherThreadWakesAnIdleQueue) {
    TypeParam queue;
    std::thread other;
    queue.post([&] { other = std::thread([&] { queue.quit(); }); });
    queue.run();
    other.join();
}

TYPED_TEST_P(QueueContract, droppedTasksMayPostWhileTheQueueIsDestroyed) {
    auto queue = std::make_unique<TypeParam>();
    queue->post([word = std::make_unique<LastWord>(*queue, 3)] { FAIL() << "ran"; });
    queue->postAfter(std::chrono::milliseconds(1),
                     [word = std::make_unique<LastWord>(*queue, 3)] { FAIL() << "ran"; });
    queue.reset();
}

REGISTER_TYPED_TEST_SUITE_P(QueueContract, runsTasksInOrderOfPostingAndNeverInsideThePost,
                            runsDelayedTasksInOrderOfDueTimeAndNeverEarly,
                            runsWhatManyThreadsPostOnceAndInEachThreadsOrder,
                            letsDelayedTasksRunWhileTasksPostTasksForEver, quitBeforeRunEndsTheNextRunOnly,
                            quitOnAnotherThreadWakesAnIdleQueue, droppedTasksMayPostWhileTheQueueIsDestroyed);

}  // namespace quorvel
