#pragma once

#include <gtest/gtest.h>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "platform/linux/painter/PainterChannel.h"
#include "support/EventLoop.h"
#include "support/Texts.h"

namespace quorvel {

using Lines = std::vector<std::string>;

/// Notes down what a window reports.
struct WindowLog final : WindowDelegate {
    void buttonPressed(const std::string& title) override { pressed.push_back(title); }
    TableRows tableRows() override { return rows; }

    Lines pressed;
    TableRows rows;
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

    void open(const Lines& scripts) {
        channel.reset();
        for (const char* const log : {"started", "received"})
            folder.write(log, "");
        for (std::size_t index = 0; index < scripts.size(); ++index)
            folder.write(std::to_string(index), scripts[index]);
        const std::string program = R"(
            n=$(wc -l <"$0/started"); echo >>"$0/started"
            say() { printf '%s\n' "$1" >&0; }
            await() {
                while IFS= read -r line; do
                    printf '%s\n' "$line" >>"$0/received"
                    case $line in "[\"$1\","*) return;; esac
                done
            }
            . "$0/$n")";
        channel =
            std::make_unique<PainterChannel>(queue, Lines{"/bin/sh", "-c", program, folder.path.string()});
    }
    int starts() const { return countIn(folder.read("started"), "\n"); }

    /// The types of all that the painters were sent, in order.
    std::string received() const {
        std::istringstream lines(folder.read("received"));
        std::string types;
        for (std::string line; std::getline(lines, line);)
            types += line.substr(2, line.find('"', 2) - 2) + ' ';
        return types;
    }
    int countOf(const std::string& text) const { return countIn(folder.read("received"), text); }

    std::unique_ptr<Window> makeLog() {
        return channel->makeWindow({"Error Log", 600, 400, true, {TextView{{}, {}, 8, "first"}}}, delegate);
    }

    void waitFor(const std::function<bool()>& condition) { ASSERT_TRUE(runUntil(queue, condition)); }
    void waitForPresses(std::size_t count) {
        waitFor([&] { return delegate->pressed.size() >= count; });
    }
    void waitForNoChild() {
        waitFor([] { return childProcess() < 0; });
    }

    TemporaryFolder folder;
    EventQueue queue;
    std::unique_ptr<PainterChannel> channel;
    std::shared_ptr<WindowLog> delegate = std::make_shared<WindowLog>();
};

}  // namespace quorvel
