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

class FenceTest : public testing::Test {
protected:
    int statusOf(const Lines& words, const std::string& deed) const {
        Lines command{FENCE_PROBE};
        command.insert(command.end(), words.begin(), words.end());
        command.push_back(deed);
        command.push_back(file.string());
        return Process(command).finish().status;
    }

    static bool kernelHasLandlock() { return syscall(SYS_landlock_create_ruleset, nullptr, 0, 1) > 0; }

    static constexpr int refused = 1;
    static constexpr int killed = 128 + SIGSYS;

    TemporaryFolder folder;
    const std::filesystem::path file = folder.write("file", "content");
};

struct Deed {
    const char* name;
    /// What Landlock alone does not refuse is none of its matters.
    bool isLandlocks;
    /// With seccomp.
    int fencedStatus;
};

TEST_F(FenceTest, keepsWhatADecoderHasNoUseForFromIt) {
    const Deed deeds[] = {
        {"read-file", true, killed},
        {"read-file-the-new-way", true, killed},
        {"list-folder", true, killed},
        {"write-file", true, killed},
        {"remove-file", true, killed},
        {"change-mode", false, killed},
        {"use-network", false, killed},
        {"use-local-sockets", false, killed},
        {"execute", true, killed},
        {"fork", false, killed},
        {"start-thread", false, killed},
        {"signal-another", false, killed},
        {"make-code", false, killed},
        {"write-out", false, killed},
        {"change-descriptor", false, killed},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        {"take-memory", true, refused},
#endif
    };
    for (const auto& [name, isLandlocks, fencedStatus] : deeds) {
        EXPECT_EQ(statusOf({"fenced"}, name), fencedStatus) << name;
        EXPECT_EQ(statusOf({"without-landlock", "fenced"}, name), fencedStatus)
            << name << " by seccomp alone";
        if (isLandlocks && kernelHasLandlock()) {
            EXPECT_EQ(statusOf({"without-seccomp", "fenced"}, name), refused) << name << " by Landlock alone";
        }
        folder.write("file", "content");
        EXPECT_EQ(statusOf({}, name), 0) << name << " has to succeed where there is no fence";
        folder.write("file", "content");
    }
    EXPECT_EQ(statusOf({"fenced"}, "decode"), 0);
}

TEST_F(FenceTest, theDecoderSaysWhichHalfOfItsFenceIsMissingAndEndsWithoutBoth) {
    struct Row {
        Lines words;
        Lines complaints;
    };
    const Row rows[] = {
        {{}, {}},
        {{"without-landlock"}, {"Landlock does not hold: "}},
        {{"without-seccomp"}, {"seccomp does not hold: "}},
        {{"without-landlock", "without-seccomp"},
         {"Landlock does not hold: ", "seccomp does not hold: ", "Without a fence no picture is decoded."}},
    };
    for (const auto& [words, complaints] : rows) {
        if (!kernelHasLandlock()) GTEST_SKIP() << "this kernel has no Landlock";
        Lines command{FENCE_PROBE};
        command.insert(command.end(), words.begin(), words.end());
        command.insert(command.end(), {"run", PROGRAM_FOLDER "/quorvel-icons"});
        const auto result = Process(command).finish();
        // Where the fence is raised, standard input is what it complains about next: the test gives it none.
        EXPECT_EQ(result.status, 1) << result.errors;
        EXPECT_EQ(result.errors.contains("Standard input is no socket"), complaints.size() < 3)
            << result.errors;
        for (const auto& complaint : complaints)
            EXPECT_TRUE(result.errors.contains(complaint)) << result.errors;
        EXPECT_EQ(static_cast<std::size_t>(std::ranges::count(result.errors, '\n')),
                  complaints.size() + (complaints.size() < 3 ? 1 : 0))
            << result.errors;
    }
}

}  // namespace
}  // namespace quorvel
