#pragma once

#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>

#include "platform/Queue.h"

namespace quorvel {

/// What every queue keeps to. A Host holds a queue and offers
///   queue()       the queue itself
///   run()         runs it on this thread until `finish`, at least
///   finish()      called by a test's last task
///   now()         the time that delays are measured in
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
    const auto start = this->host->now();
    const auto delayed = [&](milliseconds delay, const char* name) {
        this->queue.postAfter(delay, [this, start, delay, name] {
            EXPECT_GE(this->host->now() - start, delay) << name;
            this->ran += name;
        });
    };
    delayed(milliseconds(3), "e");
    delayed(milliseconds(2), "c");
    delayed(milliseconds(1), "b");
    delayed(milliseconds(2), "d");
    delayed(milliseconds(0), "a");
    this->queue.postAfter(milliseconds(3), this->finish());
    EXPECT_EQ(this->ran, "");
    this->host->run();
    EXPECT_EQ(this->ran, "abcde");
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
