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

/// Writes to standard error what is known of an exception, and fails in its turn.
void print(const UncaughtException& exception) {
    std::fprintf(stderr, "%s: %s\n", exception.name.c_str(), exception.reason.value_or("no reason").c_str());
    for (const auto& line : exception.callStackSymbols)
        std::fprintf(stderr, "%s\n", line.c_str());
    throw std::logic_error("again");
}

void fail() {
    throwsFarInside(std::vector<int>(3));
}

[[noreturn]] void throwSeven() {
    throw 7;
}

TEST(UncaughtExceptions, reportNameReasonAndTheStackOfTheThrowAndEndTheProcess) {
    const char* const outOfRange = "^std::out_of_range: vector::_M_range_check(.|\n)*throwsFarInside";
    const auto endsWith = [](void (*throwing)(), const char* printed) {
        EXPECT_EXIT((onUncaughtException(print), throwing()), testing::ExitedWithCode(1), printed);
    };
    endsWith([] { std::thread(fail).join(); }, outOfRange);
    endsWith(
        [] {
            try {
                fail();
            } catch (...) {
                std::terminate();
            }
        },
        outOfRange);
    endsWith([]() noexcept { throwSeven(); }, "^int: no reason\n");
}

}  // namespace
}  // namespace quorvel
