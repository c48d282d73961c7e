#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <seccomp.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "icons/Sandbox.h"

/// Does what a decoder that an image has taken over would try, and exits with 0 when that succeeded, 1 when
/// it was refused:
///     sandbox_probe [without-landlock] [without-seccomp] [sandboxed] DEED [ARGUMENT...]
/// The first two make the kernel answer as one that lacks the means.
namespace {

/// What is refused here stays refused in the program that `run` starts.
void lack(std::initializer_list<int> calls, bool alsoOldWay) {
    const scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    for (const int call : calls)
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), call, 0);
    if (alsoOldWay) {
        seccomp_rule_add(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1,
                         SCMP_A0(SCMP_CMP_EQ, PR_SET_SECCOMP));
    }
    if (seccomp_load(filter) != 0) _exit(2);
    seccomp_release(filter);
}

bool forks() {
    const pid_t child = fork();
    if (child == 0) _exit(0);
    return child > 0 && waitpid(child, nullptr, 0) == child;
}

/// A page of code, first written and then made executable.
bool makesCode() {
    constexpr std::size_t size = 4096;
    void* const page = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page != MAP_FAILED && mprotect(page, size, PROT_READ | PROT_EXEC) == 0;
}

bool doesWhatDecodingNeeds() {
    constexpr std::size_t size = 4 * 1024 * 1024;
    auto block = std::string(size, 'x');
    block.resize(8 * size);
    return std::fputs("text\n", stderr) >= 0;
}

bool succeeds(const std::string& deed, char** arguments) {
    if (deed == "read-file") return open("/etc/passwd", O_RDONLY) >= 0;
    if (deed == "write-file") return open(arguments[0], O_WRONLY) >= 0;
    if (deed == "use-network") return socket(AF_INET, SOCK_DGRAM, 0) >= 0;
    if (deed == "execute") return execl("/bin/true", "true", nullptr) == 0;
    if (deed == "fork") return forks();
    if (deed == "signal-another") return kill(getppid(), 0) == 0;
    if (deed == "make-code") return makesCode();
    if (deed == "write-out") return write(STDOUT_FILENO, "x", 1) == 1;
    if (deed == "take-memory")
        return mmap(nullptr, std::size_t{4} << 30, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1,
                    0) != MAP_FAILED;
    if (deed == "decode") return doesWhatDecodingNeeds();
    if (deed == "run") return execv(arguments[0], arguments) == 0;
    std::fprintf(stderr, "no deed %s\n", deed.c_str());
    _exit(2);
}

}  // namespace

int main(int, char** arguments) {
    for (++arguments;; ++arguments) {
        const std::string word = *arguments;
        if (word == "without-landlock") {
            lack({SCMP_SYS(landlock_create_ruleset)}, false);
        } else if (word == "without-seccomp") {
            lack({SCMP_SYS(seccomp)}, true);
        } else if (word == "sandboxed") {
            quorvel::icons::enterSandbox();
        } else {
            _exit(succeeds(word, arguments + 1) ? 0 : 1);
        }
    }
}
