#include <cstdio>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>

#include "platform/linux/UncaughtExceptions.h"

namespace quorvel {

/// Stands between the throw and the end of the process, so that the stack names it.
__attribute__((noinline)) int throwsFarInside(const std::vector<int>& numbers) {
    return numbers.at(12) + 1;
}

namespace {

/// Has what is known of an exception written to standard error.
void install(const std::function<void()>& afterwards = [] {}) {
    onUncaughtException([afterwards](const auto& exception) {
        std::fprintf(stderr, "%s: %s\n", exception.name.c_str(),
                     exception.reason.value_or("no reason").c_str());
        for (const auto& line : exception.callStackSymbols)
            std::fprintf(stderr, "%s\n", line.c_str());
        afterwards();
    });
}

void fail() {
    throwsFarInside(std::vector<int>(3));
}

[[noreturn]] void throwSeven() {
    throw 7;
}

const testing::ExitedWithCode withStatusOne(1);

TEST(UncaughtExceptions, reportNameReasonAndTheStackOfTheThrow) {
    const std::pair<const char*, void (*)()> rows[] = {
        {"on this thread", []() noexcept { fail(); }},
        {"on another thread", [] { std::thread(fail).join(); }},
        {"through a catch at the top",
         [] {
             try {
                 fail();
             } catch (...) {
                 std::terminate();
             }
         }},
    };
    for (const auto& [where, throwing] : rows) {
        SCOPED_TRACE(where);
        EXPECT_EXIT((install(), throwing()), withStatusOne,
                    "^std::out_of_range: vector::_M_range_check(.|\n)*throwsFarInside");
    }
}

TEST(UncaughtExceptions, endTheProcessWhenTheHandlerFailsInItsTurn) {
    const auto failAgain = [] { throw std::logic_error("again"); };
    const auto throwing = []() noexcept { throwSeven(); };
    EXPECT_EXIT((install(failAgain), throwing()), withStatusOne, "^int: no reason\n");
}

}  // namespace
}  // namespace quorvel
