#pragma once

#include <array>
#include <cstdio>
#include <exception>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace quorvel {

/// What became of a part of a test that ran in a process of its own.
struct ChildReport {
    /// Each expectation that did not hold, and how the process died if it did; empty when all is well.
    std::string failure;
    /// Why the part could not run here; empty when it ran.
    std::string skipped;
};

namespace forkedChild {

#ifdef QUORVEL_COUNTS_LINES
extern "C" void __gcov_dump();
#endif

/// Without a word from the listeners and destructors of the parent, of which this is a copy.
[[noreturn]] inline void end(int status) {
#ifdef QUORVEL_COUNTS_LINES
    __gcov_dump();
#endif
    _exit(status);
}

/// The results of the current test from the one at `index` on.
inline ChildReport resultsSince(int index) {
    ChildReport report;
    const auto& result = *testing::UnitTest::GetInstance()->current_test_info()->result();
    for (; index < result.total_part_count(); ++index) {
        const auto& part = result.GetTestPartResult(index);
        std::string& text = part.skipped() ? report.skipped : report.failure;
        if (part.failed()) text += "line " + std::to_string(part.line_number()) + ": ";
        text += part.message();
    }
    return report;
}

/// Never returns. The report goes out as failure, NUL, reason to skip.
[[noreturn]] inline void runAndReport(const std::function<void()>& body, int output) {
    const auto& unitTest = *testing::UnitTest::GetInstance();
    auto& listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    const int before = unitTest.current_test_info()->result()->total_part_count();
    try {
        body();
    } catch (const std::exception& error) {
        ADD_FAILURE() << "an exception: " << error.what();
    }
    const auto [failure, skipped] = resultsSince(before);
    const std::string text = failure + '\0' + skipped;
    const auto count = write(output, text.data(), text.size());
    end(count == static_cast<ssize_t>(text.size()) ? 0 : 1);
}

inline std::string readToEnd(int input) {
    std::string text;
    std::array<char, 4096> buffer;
    for (ssize_t count = 0; (count = read(input, buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    return text;
}

}  // namespace forkedChild

/// Runs `body` in a forked child, where it may change what belongs to a whole process: its user, its limits,
/// its mounts. Expectations and GTEST_SKIP work in there and come back as the report.
inline ChildReport runInChild(const std::function<void()>& body) {
    std::array<int, 2> pipeEnds{};
    if (pipe(pipeEnds.data()) != 0) throw std::runtime_error("no pipe");
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) forkedChild::runAndReport(body, pipeEnds[1]);
    close(pipeEnds[1]);
    const std::string text = forkedChild::readToEnd(pipeEnds[0]);
    close(pipeEnds[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) throw std::runtime_error("no child");

    const auto separator = text.find('\0');
    ChildReport report{text.substr(0, separator),
                       separator == std::string::npos ? "" : text.substr(separator + 1)};
    if (WIFSIGNALED(status)) report.failure += "ended by signal " + std::to_string(WTERMSIG(status));
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0) {
        report.failure += "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return report;
}

}  // namespace quorvel
