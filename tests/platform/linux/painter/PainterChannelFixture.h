#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/painter/PainterChannel.h"
#include "support/FakePanel.h"
#include "support/TemporaryFolder.h"

namespace quorvel {

using Lines = std::vector<std::string>;

/// Notes down what a window reports.
struct WindowLog final : WindowDelegate {
    void buttonPressed(const std::string& title) override { pressed.push_back(title); }
    TableRows tableRows() override {
        ++timesAsked;
        return rows;
    }

    Lines pressed;
    TableRows rows;
    int timesAsked = 0;
};

/// A channel to painters that are shell scripts, one for each start.
class PainterChannelFixture : public testing::Test {
protected:
    /// A step of a script: sends an event; reads until a request of this type has come, "end" for all.
    static std::string say(const painter::Event& event) { return "say '" + encode(event) + "'\n"; }
    static std::string await(const std::string& type) { return "await " + type + '\n'; }
    const std::string hello = say(painter::Hello()), press = say(painter::ButtonPressed{1, "Refresh"});

    void TearDown() override {
        channel.reset();
        waitForNoChild();
    }

    void open(const Lines& scripts, const PainterLimits& limits = {}) {
        channel.reset();
        for (const auto& entry : std::filesystem::directory_iterator(folder.path))
            std::filesystem::remove(entry);
        for (std::size_t index = 0; index < scripts.size(); ++index)
            folder.write(std::to_string(index), scripts[index]);
        const std::string program = R"(
            n=0; while [ -e "$0/started$n" ]; do n=$((n+1)); done; : >"$0/started$n"
            say() { printf '%s\n' "$1" >&0; }
            await() {
                while IFS= read -r line; do
                    printf '%s\n' "$line" >>"$0/received"
                    case $line in "[\"$1\","*) return;; esac
                done
            }
            . "$0/$n")";
        channel = std::make_unique<PainterChannel>(
            queue, Lines{"/bin/sh", "-c", program, folder.path.string()}, limits);
    }
    int starts() const {
        int count = 0;
        while (std::filesystem::exists(folder.path / ("started" + std::to_string(count))))
            ++count;
        return count;
    }

    /// The types of all that the painters were sent, in order.
    std::string received() const {
        std::istringstream lines(folder.read("received"));
        std::string types;
        for (std::string line; std::getline(lines, line);)
            types += line.substr(2, line.find('"', 2) - 2) + ' ';
        return types;
    }
    int countOf(const std::string& text) const {
        const std::string all = folder.read("received");
        int count = 0;
        for (auto at = all.find(text); at != all.npos; at = all.find(text, at + 1))
            ++count;
        return count;
    }

    std::unique_ptr<Window> makeLog() {
        return channel->makeWindow({"Error Log", 600, 400, true, {TextView{{}, {}, 8, "first"}}}, delegate);
    }

    void waitFor(const std::function<bool()>& condition) { ASSERT_TRUE(runUntil(queue, condition)); }
    void waitForPresses(std::size_t count) {
        waitFor([&] { return delegate->pressed.size() >= count; });
    }
    /// Until all has been handled that was posted or came before; a message takes a few turns of the loop.
    void waitForTurn() {
        int turns = 0;
        const std::function<void()> next = [&] {
            if (++turns < 40) queue.post(next);
        };
        queue.post(next);
        waitFor([&] { return turns == 40; });
    }
    void waitForNoChild() {
        waitFor([] { return child() < 0; });
    }

    /// The only painter; -1 when there is none.
    static int child() {
        const auto self = std::to_string(getpid());
        std::istringstream children(
            TemporaryFolder::contentOf("/proc/" + self + "/task/" + self + "/children"));
        int found = -1;
        children >> found;
        return found;
    }

    TemporaryFolder folder;
    EventQueue queue;
    std::unique_ptr<PainterChannel> channel;
    std::shared_ptr<WindowLog> delegate = std::make_shared<WindowLog>();
};

}  // namespace quorvel
