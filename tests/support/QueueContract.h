#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Queue.h"

namespace quorvel {

/// What every queue keeps to. A Host holds a queue and offers
///   queue()       the queue itself
///   run()         runs it on this thread until `finish`, at least
///   finish()      called by a test's last task
///   now()         the time that delays are measured in
///   holdFor(d)    called by a task that keeps the thread busy for that time
template <typename Host>
class QueueContract : public testing::Test {
protected:
    using Duration = std::chrono::nanoseconds;

    Task note(const char* name) {
        return [this, name] { ran += name; };
    }

    Task finish() {
        return [this] { host->finish(); };
    }

    std::unique_ptr<Host> host = std::make_unique<Host>();
    Queue& queue = host->queue();
    std::string ran;
};

TYPED_TEST_SUITE_P(QueueContract);

TYPED_TEST_P(QueueContract, runsTasksInOrderOfPostingAndNeverInsideThePost) {
    this->queue.post([this] {
        this->queue.post(this->note("c"));
        this->queue.post(this->finish());
        this->ran += "a";
    });
    this->queue.post(this->note("b"));
    EXPECT_EQ(this->ran, "");
    this->host->run();
    EXPECT_EQ(this->ran, "abc");
}

TYPED_TEST_P(QueueContract, runsDelayedTasksInOrderOfDueTimeAndNeverEarly) {
    using std::chrono::milliseconds;
    using Duration = typename TestFixture::Duration;
    struct Delayed {
        int number;
        /// Between which the due time lies: as long as the call took, however often it was interrupted.
        Duration earliest, latest;
    };
    // Falling due one by one, and all while the thread is busy.
    for (const bool together : {false, true}) {
        std::vector<Delayed> posted, ran;
        this->queue.post([&] {
            for (const int delay : {3, 2, 1, 2, 0}) {
                const auto number = posted.size();
                const Duration earliest = this->host->now() + milliseconds(delay);
                this->queue.postAfter(milliseconds(delay), [this, &posted, &ran, number] {
                    EXPECT_GE(this->host->now(), posted[number].earliest);
                    ran.push_back(posted[number]);
                });
                posted.push_back(
                    {static_cast<int>(number), earliest, this->host->now() + milliseconds(delay)});
            }
            this->queue.postAfter(milliseconds(3), this->finish());
            EXPECT_TRUE(ran.empty());
            if (together) this->host->holdFor(milliseconds(4));
        });
        this->host->run();
        ASSERT_EQ(ran.size(), posted.size());
        for (std::size_t place = 1; place < ran.size(); ++place) {
            EXPECT_LE(ran[place - 1].earliest, ran[place].latest)
                << ran[place - 1].number << " before " << ran[place].number << ", due together: " << together;
        }
    }
}

TYPED_TEST_P(QueueContract, keepsTheOtherTasksWhenOneThrows) {
    this->queue.post([] { throw std::runtime_error("broken task"); });
    this->queue.post(this->note("a"));
    this->queue.post(this->finish());
    EXPECT_THROW(this->host->run(), std::runtime_error);
    EXPECT_EQ(this->ran, "");
    this->host->run();
    EXPECT_EQ(this->ran, "a");
}

TYPED_TEST_P(QueueContract, dropsWaitingTasksUnrunWhenDestroyed) {
    auto captured = std::make_shared<int>();
    const std::weak_ptr<int> alive = captured;
    this->queue.post([this, captured] { this->ran += "a"; });
    this->queue.postAfter(std::chrono::seconds(0),
                          [this, captured = std::move(captured)] { this->ran += "b"; });
    this->host.reset();
    EXPECT_EQ(this->ran, "");
    EXPECT_TRUE(alive.expired());
}

REGISTER_TYPED_TEST_SUITE_P(QueueContract, runsTasksInOrderOfPostingAndNeverInsideThePost,
                            runsDelayedTasksInOrderOfDueTimeAndNeverEarly, keepsTheOtherTasksWhenOneThrows,
                            dropsWaitingTasksUnrunWhenDestroyed);

}  // namespace quorvel
