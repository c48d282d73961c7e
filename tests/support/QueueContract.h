#pragma once

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "platform/Queue.h"

namespace quorvel {

/// What every main queue keeps to, whose `run` runs tasks until `quit`: made for each adapter with
/// INSTANTIATE_TYPED_TEST_SUITE_P(Adapter, QueueContract, Adapter).
template <typename MainQueue>
class QueueContract : public testing::Test {};

TYPED_TEST_SUITE_P(QueueContract);

TYPED_TEST_P(QueueContract, runsTasksInOrderOfPostingAndNeverInsideThePost) {
    TypeParam queue;
    std::string ran;
    queue.post([&] {
        queue.post([&] { ran += "c"; });
        queue.post([&] { queue.quit(); });
        ran += "a";
    });
    queue.post([&] { ran += "b"; });
    queue.quit();
    queue.run();
    EXPECT_EQ(ran, "") << "to quit beforehand ends the next run";
    queue.run();
    EXPECT_EQ(ran, "abc");
}

TYPED_TEST_P(QueueContract, runsDelayedTasksInOrderOfDueTimeAndNeverEarly) {
    using std::chrono::milliseconds;
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
                const auto wait = milliseconds(std::max(delay, 0));
                const auto earliest = Clock::now() + wait;
                queue.postAfter(milliseconds(delay), [&, number] {
                    EXPECT_GE(Clock::now(), posted[number].earliest);
                    ran.push_back(posted[number]);
                });
                posted.push_back({earliest, Clock::now() + wait});
            }
            queue.postAfter(milliseconds(3), [&] { queue.quit(); });
            EXPECT_TRUE(ran.empty());
            for (const auto start = Clock::now(); together && Clock::now() - start < milliseconds(4);)
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
    constexpr std::size_t threads = 4, each = 1'000;
    TypeParam queue;
    std::vector<std::size_t> next(threads);
    std::size_t outOfOrder = 0, left = threads * each;
    const auto runner = std::this_thread::get_id();
    std::vector<std::future<void>> posters;
    for (std::size_t poster = 0; poster < threads; ++poster) {
        posters.push_back(std::async(std::launch::async, [&, poster] {
            for (std::size_t number = 0; number < each; ++number) {
                queue.post([&, poster, number] {
                    if (next[poster]++ != number || std::this_thread::get_id() != runner) ++outOfOrder;
                    if (--left == 0) queue.quit();
                });
            }
        }));
    }
    queue.run();
    EXPECT_EQ(left, 0U);
    EXPECT_EQ(outOfOrder, 0U);
    // On another thread it wakes an idle queue.
    queue.post([&] { posters.push_back(std::async(std::launch::async, [&] { queue.quit(); })); });
    queue.run();
}

TYPED_TEST_P(QueueContract, letsDelayedTasksRunWhileTasksPostTasksForEver) {
    TypeParam queue;
    std::function<void()> forEver = [&] { queue.post([&] { forEver(); }); };
    forEver();
    queue.postAfter(std::chrono::milliseconds(1), [&] { queue.quit(); });
    queue.run();
}

REGISTER_TYPED_TEST_SUITE_P(QueueContract, runsTasksInOrderOfPostingAndNeverInsideThePost,
                            runsDelayedTasksInOrderOfDueTimeAndNeverEarly,
                            runsWhatManyThreadsPostOnceAndInEachThreadsOrder,
                            letsDelayedTasksRunWhileTasksPostTasksForEver);

}  // namespace quorvel
