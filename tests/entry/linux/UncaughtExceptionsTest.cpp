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
void print(const UncaughtException& exception) {
    std::fprintf(stderr, "%s: %s\n", exception.name.c_str(), exception.reason.value_or("no reason").c_str());
    for (const auto& line : exception.callStackSymbols)
        std::fprintf(stderr, "%s\n", line.c_str());
}

void fail() {
    throwsFarInside(std::vector<int>(3));
}

[[noreturn]] void throwSeven() {
    throw 7;
}

TEST(UncaughtExceptions, reportNameReasonAndTheStackOfTheThrowAndEndTheProcess) {
    const char* const outOfRange = "^std::out_of_range: vector::_M_range_check(.|\n)*throwsFarInside";
    const auto failToo = [](const auto& exception) {
        print(exception);
        throw std::logic_error("again");
    };
    const struct {
        void (*throwing)();
        std::function<void(const UncaughtException&)> handler;
        const char* printed;
    } rows[] = {
        {[]() noexcept { fail(); }, print, outOfRange},
        {[] { std::thread(fail).join(); }, print, outOfRange},
        {[] {
             try {
                 fail();
             } catch (...) {
                 std::terminate();
             }
         },
         print, outOfRange},
        {[]() noexcept { throwSeven(); }, failToo, "^int: no reason\n"},
    };
    for (const auto& [throwing, handler, printed] : rows)
        EXPECT_EXIT((onUncaughtException(handler), throwing()), testing::ExitedWithCode(1), printed);
}

}  // namespace
}  // namespace quorvel
