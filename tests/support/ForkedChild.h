#pragma once

#include <cstdio>
#include <functional>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvel {

namespace forkedChild {

constexpr int skippedStatus = 77;

#ifdef QUORVEL_COUNTS_LINES
extern "C" void __gcov_dump();
#endif

/// Without a word from the listeners and destructors of the parent, of which this is a copy; GoogleTest shows
/// what a child wrote to standard error.
[[noreturn]] inline void end() {
    const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (int index = 0; index < result.total_part_count(); ++index) {
        const auto& part = result.GetTestPartResult(index);
        std::fprintf(stderr, "line %d: %s\n", part.line_number(), part.message());
    }
#ifdef QUORVEL_COUNTS_LINES
    __gcov_dump();
#endif
    _exit(testing::Test::HasFailure() ? 1 : testing::Test::IsSkipped() ? skippedStatus : 0);
}

}  // namespace forkedChild

/// Runs `body` in a forked child, where it may change what belongs to a whole process: its user, its limits,
/// its mounts. Expectations and GTEST_SKIP work in there; what fails there fails the test here. False when it
/// was skipped.
inline bool runInChild(const std::function<void()>& body) {
    bool isSkipped = false;
    const auto isFine = [&](int status) {
        isSkipped = WIFEXITED(status) && WEXITSTATUS(status) == forkedChild::skippedStatus;
        return isSkipped || status == 0;
    };
    EXPECT_EXIT((body(), forkedChild::end()), isFine, "");
    return !isSkipped;
}

}  // namespace quorvel
