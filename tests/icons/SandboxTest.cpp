#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "icons/Sandbox.h"
#include "support/ForkedChild.h"
#include "support/Process.h"

namespace quorvel::icons {
namespace {

using testing::ExitedWithCode;
using testing::KilledBySignal;

enum Lack { nothing = 0, landlock = 1, seccomp = 2, both = 3 };

/// Makes the kernel answer this process, and what it becomes, as one that lacks the means.
void take(Lack lack) {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if ((lack & landlock) != 0)
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(landlock_create_ruleset), 0);
    if ((lack & seccomp) != 0) {
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(seccomp), 0);
        const scmp_arg_cmp setsFilter{.arg = 0, .op = SCMP_CMP_EQ, .datum_a = PR_SET_SECCOMP, .datum_b = 0};
        seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1, &setsFilter);
    }
    if (lack != nothing && seccomp_load(filter) != 0) _exit(2);
    seccomp_release(filter);
}

void* pages(std::size_t size) {
    return mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
}

/// What a decoder that an image has taken over would try.
struct Deed {
    const char* name;
    /// What Landlock alone does not refuse is none of its matters.
    bool isLandlocks;
    bool (*succeeds)();
};

const Deed deeds[] = {
    {"read a file", true, [] { return open("/etc/passwd", O_RDONLY) >= 0; }},
    {"write a file", true, [] { return open("/dev/null", O_WRONLY) >= 0; }},
    {"run a program", true, [] { return execl("/bin/true", "true", nullptr) == 0; }},
    {"use the network", false, [] { return socket(AF_INET, SOCK_DGRAM, 0) >= 0; }},
    {"make code", false, [] { return mprotect(pages(4096), 4096, PROT_READ | PROT_EXEC) == 0; }},
    {"write to a terminal", false, [] { return write(STDOUT_FILENO, "", 0) == 0; }},
};

class SandboxTest : public testing::Test {
protected:
    void SetUp() override {
        if (syscall(SYS_landlock_create_ruleset, nullptr, 0, 1) < 1)
            GTEST_SKIP() << "this kernel has no Landlock";
    }

    [[noreturn]] static void tryInSandbox(Lack lack, bool (*succeeds)()) {
        take(lack);
        dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);  // files may not grow in there
        enterSandbox();
        _exit(succeeds() ? 0 : 1);
    }
};

TEST_F(SandboxTest, refusesADecoderWhatItHasNoUseFor) {
    for (const auto& [name, isLandlocks, succeeds] : deeds) {
        EXPECT_EXIT(_exit(succeeds() ? 0 : 1), ExitedWithCode(0), "") << name << " without a sandbox";
        EXPECT_EXIT(tryInSandbox(nothing, succeeds), KilledBySignal(SIGSYS), "") << name;
        EXPECT_EXIT(tryInSandbox(landlock, succeeds), KilledBySignal(SIGSYS), "") << name;
        if (isLandlocks) {
            EXPECT_EXIT(tryInSandbox(seccomp, succeeds), ExitedWithCode(1), "") << name;
        }
    }
    const auto decode = [] {
        const std::string block(std::size_t{32} * 1024 * 1024, 'x');
        return block.back() == 'x' && std::fputs("text\n", stderr) >= 0;
    };
    EXPECT_EXIT(tryInSandbox(nothing, decode), ExitedWithCode(0), "");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const auto takeMemory = [] { return pages(std::size_t{4} << 30) != MAP_FAILED; };
    EXPECT_EXIT(_exit(takeMemory() ? 0 : 1), ExitedWithCode(0), "");
    EXPECT_EXIT(tryInSandbox(nothing, takeMemory), ExitedWithCode(1), "");
#endif
}

TEST_F(SandboxTest, theDecoderEndsWithoutEitherHalf) {
    runInChild([] {
        take(both);
        EXPECT_EQ(Process({PROGRAM_FOLDER "/quorvel-icons"}).finish().errors,
                  "quorvel-icons: Landlock does not hold: Function not implemented.\n"
                  "quorvel-icons: seccomp does not hold: Cannot allocate memory.\n"
                  "quorvel-icons: Without a sandbox no picture is decoded.\n");
    });
}

}  // namespace
}  // namespace quorvel::icons
