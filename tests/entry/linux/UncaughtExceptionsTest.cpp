#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "platform/linux/UncaughtExceptions.h"

namespace quorvel {

/// Stands between the throw and the end of the process, so that the stack names it.
__attribute__((noinline)) int throwsFarInside(const std::vector<int>& numbers) {
    return numbers.at(12) + 1;
}

namespace {

struct End {
    int status;
    std::string said;
};

/// Runs `body` in a process whose handler of uncaught exceptions writes down what it is told.
End endOf(const std::function<void()>& body, const std::function<void()>& inHandler = [] {}) {
    std::array<int, 2> channel{};
    if (pipe(channel.data()) != 0) throw std::runtime_error("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        onUncaughtException([&](const UncaughtException& report) {
            std::string text = report.name + ": " + report.reason.value_or("no reason") + "\n";
            for (const auto& line : report.callStackSymbols)
                text += line + "\n";
            (void)!write(channel[1], text.data(), text.size());
            inHandler();
        });
        body();
        _exit(0);
    }
    close(channel[1]);
    End end{};
    std::array<char, 4096> buffer{};
    for (ssize_t count = 0; (count = read(channel[0], buffer.data(), buffer.size())) > 0;) {
        end.said.append(buffer.data(), static_cast<std::size_t>(count));
    }
    close(channel[0]);
    int status = 0;
    waitpid(child, &status, 0);
    end.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return end;
}

const std::vector<int> three(3);

[[noreturn]] void throwSeven() {
    throw 7;
}

TEST(UncaughtExceptions, tellsNameReasonAndTheStackOfTheThrow) {
    for (const bool onAnotherThread : {false, true}) {
        const auto end = endOf([&] {
            const auto fail = []() noexcept { throwsFarInside(three); };
            if (onAnotherThread) {
                std::thread(fail).join();
            } else {
                fail();
            }
        });
        EXPECT_EQ(end.status, 1) << end.said;
        EXPECT_TRUE(end.said.starts_with("std::out_of_range: vector::_M_range_check")) << end.said;
        EXPECT_TRUE(end.said.contains("throwsFarInside")) << end.said;
    }
}

TEST(UncaughtExceptions, remembersTheStackThroughACatchAtTheTop) {
    const auto end = endOf([] {
        try {
            throwsFarInside(three);
        } catch (...) {
            std::terminate();
        }
    });
    EXPECT_EQ(end.status, 1);
    EXPECT_TRUE(end.said.starts_with("std::out_of_range: ")) << end.said;
    EXPECT_TRUE(end.said.contains("throwsFarInside")) << end.said;
}

TEST(UncaughtExceptions, endsTheProcessWhenTheHandlerFailsInItsTurn) {
    const auto fail = []() noexcept { throwSeven(); };
    const auto end = endOf(fail, [] { throw std::logic_error("again"); });
    EXPECT_EQ(end.status, 1);
    EXPECT_TRUE(end.said.starts_with("int: no reason\n")) << end.said;
    EXPECT_FALSE(end.said.contains("again")) << end.said;
}

}  // namespace
}  // namespace quorvel
