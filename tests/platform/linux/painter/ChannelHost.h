#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/painter/PainterChannel.h"

namespace quorvel {

/// A main queue whose run ends when the test has seen what it waits for, or, far later, with a failure.
class MainLoop {
public:
    void run() {
        const auto isOver = std::make_shared<bool>(false);
        queue.postAfter(std::chrono::seconds(60), [this, isOver] {
            if (*isOver) return;
            ADD_FAILURE() << "What the test waits for did not come.";
            queue.quit();
        });
        queue.run();
        *isOver = true;
    }

    EventQueue queue;
};

/// Notes down what a window reports, and ends the loop's run at each button.
class WindowLog final : public WindowDelegate {
public:
    explicit WindowLog(EventQueue& mainQueue) : queue(mainQueue) {}

    void buttonPressed(const std::string& title) override {
        pressed.push_back(title);
        queue.quit();
    }
    TableRows tableRows() override {
        ++timesAsked;
        return rows;
    }

    EventQueue& queue;
    std::vector<std::string> pressed;
    TableRows rows;
    int timesAsked = 0;
};

}  // namespace quorvel
