#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "support/Process.h"
#include "support/TemporaryFolder.h"

namespace quorvel {
namespace {

using Lines = std::vector<std::string>;

class SandboxTest : public testing::Test {
protected:
    void SetUp() override {
        if (syscall(SYS_landlock_create_ruleset, nullptr, 0, 1) < 1)
            GTEST_SKIP() << "this kernel has no Landlock";
    }

    Process::Result run(const Lines& words, const Lines& deed) const {
        Lines command{SANDBOX_PROBE};
        command.insert(command.end(), words.begin(), words.end());
        command.insert(command.end(), deed.begin(), deed.end());
        return Process(command).finish();
    }

    TemporaryFolder folder;
    const std::string file = folder.write("file", "content").string();
};

TEST_F(SandboxTest, refusesADecoderWhatItHasNoUseFor) {
    constexpr int refused = 1, killed = 128 + SIGSYS;
    struct Deed {
        const char* name;
        /// What Landlock alone does not refuse is none of its matters.
        bool isLandlocks;
        /// With seccomp.
        int status;
    };
    const Deed deeds[] = {
        {"read-file", true, killed},    {"write-file", true, killed}, {"execute", true, killed},
        {"use-network", false, killed}, {"fork", false, killed},      {"signal-another", false, killed},
        {"make-code", false, killed},   {"write-out", false, killed},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        {"take-memory", true, refused},
#endif
    };
    for (const auto& [name, isLandlocks, status] : deeds) {
        EXPECT_EQ(run({"sandboxed"}, {name, file}).status, status) << name;
        EXPECT_EQ(run({"without-landlock", "sandboxed"}, {name, file}).status, status) << name;
        if (isLandlocks) {
            EXPECT_EQ(run({"without-seccomp", "sandboxed"}, {name, file}).status, refused) << name;
        }
        EXPECT_EQ(run({}, {name, file}).status, 0) << name << " has to succeed where there is no sandbox";
    }
    EXPECT_EQ(run({"sandboxed"}, {"decode"}).status, 0);
}

TEST_F(SandboxTest, theDecoderSaysWhichHalfIsMissingAndEndsWithoutBoth) {
    const std::string landlock = "Landlock does not hold: ", seccomp = "seccomp does not hold: ",
                      input = "Standard input is no socket";
    const std::pair<Lines, Lines> rows[] = {
        {{}, {input}},
        {{"without-landlock"}, {landlock, input}},
        {{"without-seccomp"}, {seccomp, input}},
        {{"without-landlock", "without-seccomp"},
         {landlock, seccomp, "Without a sandbox no picture is decoded."}},
    };
    for (const auto& [words, complaints] : rows) {
        const auto result = run(words, {"run", PROGRAM_FOLDER "/quorvel-icons"});
        EXPECT_EQ(result.status, 1) << result.errors;
        for (const auto& complaint : complaints)
            EXPECT_TRUE(result.errors.contains(complaint)) << result.errors;
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), std::ssize(complaints)) << result.errors;
    }
}

}  // namespace
}  // namespace quorvel
