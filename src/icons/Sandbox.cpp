#include "icons/Sandbox.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/linux/process/SeccompFilter.h"

#if defined(__SANITIZE_ADDRESS__)
/// The search for leaks at the end starts a thread that stops the others, which the sandbox forbids.
extern "C" const char* __asan_default_options() {
    return "detect_leaks=0";
}
#endif

namespace quorvel::icons {

namespace {

/// The descriptor that a received file gets: the first one free.
constexpr unsigned fileDescriptor = 3;
/// Beyond what the libraries take: a file has 8 MB at most, a picture 4.
constexpr rlim_t memoryForPictures = 64UL * 1024 * 1024;
/// For all pictures of a run; the program ends a decoder that takes seconds over one.
constexpr rlim_t processorSeconds = 60;

void complain(const char* what, int number) {
    std::fprintf(stderr, "quorvel-icons: %s: %s.\n", what, std::strerror(number));
}

void limit(__rlimit_resource resource, rlim_t max, const char* what) {
    const rlimit both{max, max};
    if (setrlimit(resource, &both) != 0) complain(what, errno);
}

void limitMemory() {
    // A sanitizer's shadow memory takes terabytes of addresses.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    rlim_t pages = 0;
    if (!(std::ifstream("/proc/self/statm") >> pages)) return complain("Memory is not bounded", ENOENT);
    const auto pageSize = static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    limit(RLIMIT_AS, pages * pageSize + memoryForPictures, "Memory is not bounded");
#endif
}

void limitResources() {
    limitMemory();
    limit(RLIMIT_CPU, processorSeconds, "Processor time is not bounded");
    limit(RLIMIT_NOFILE, fileDescriptor + 1, "Descriptors are not bounded");
    limit(RLIMIT_FSIZE, 0, "Files can still be written");
    limit(RLIMIT_NPROC, 0, "Processes can still be started");
    limit(RLIMIT_CORE, 0, "A crash can leave a core file");
}

/// linux/landlock.h as of the newest version known here; a distribution's own header is often older than the
/// kernel that runs.
struct LandlockRules {
    std::uint64_t fileAccess = 0;
    std::uint64_t networkAccess = 0;
    std::uint64_t scopes = 0;
};

/// Everything that the kernel's version of Landlock can forbid.
LandlockRules allRules(long version) {
    constexpr unsigned fileRights[] = {13, 14, 15, 15, 16};
    constexpr long versions = sizeof fileRights / sizeof *fileRights;
    const unsigned count = fileRights[(version < versions ? version : versions) - 1];
    LandlockRules rules{.fileAccess = (std::uint64_t{1} << count) - 1};
    if (version >= 4) rules.networkAccess = 3;  // binding and connecting TCP sockets
    if (version >= 6) rules.scopes = 3;         // abstract sockets, signals
    return rules;
}

/// 0 or an errno.
int forbidFiles() {
    constexpr unsigned askVersion = 1;
    const long version = syscall(SYS_landlock_create_ruleset, nullptr, 0, askVersion);
    if (version < 1) return errno;
    const auto rules = allRules(version);
    // The kernel takes a longer structure than it knows as long as the rest is zero.
    const long ruleset = syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0);
    if (ruleset < 0) return errno;
    const int error = syscall(SYS_landlock_restrict_self, ruleset, 0) == 0 ? 0 : errno;
    close(static_cast<int>(ruleset));
    return error;
}

/// The lowest descriptors keep the places that the filter knows, whoever started this program with fewer, and
/// standard output, which may be a terminal that can be read, is nothing to the decoder.
void tidyDescriptors() {
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, STDOUT_FILENO);
    if (fcntl(STDERR_FILENO, F_GETFD) < 0) dup2(nowhere, STDERR_FILENO);
    close_range(fileDescriptor, ~0U, 0);
}

/// 0 or an errno.
int forbidCalls() {
    SeccompFilter filter(SCMP_ACT_KILL_PROCESS);
    const auto allowOn = [&filter](unsigned descriptor, std::initializer_list<int> calls) {
        filter.add(SCMP_ACT_ALLOW, calls,
                   {{.arg = 0, .op = SCMP_CMP_EQ, .datum_a = descriptor, .datum_b = 0}});
    };
    allowOn(STDIN_FILENO, {SCMP_SYS(recvmsg), SCMP_SYS(sendto)});
    allowOn(STDERR_FILENO, {SCMP_SYS(write), SCMP_SYS(writev)});
    allowOn(fileDescriptor, {SCMP_SYS(read), SCMP_SYS(close)});
    // No memory becomes executable.
    filter.add(SCMP_ACT_ALLOW, {SCMP_SYS(mmap), SCMP_SYS(mprotect)},
               {{.arg = 2, .op = SCMP_CMP_MASKED_EQ, .datum_a = PROT_EXEC, .datum_b = 0}});
    filter.add(SCMP_ACT_ALLOW,
               {SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise), SCMP_SYS(brk), SCMP_SYS(futex),
                SCMP_SYS(getrandom), SCMP_SYS(clock_gettime), SCMP_SYS(sched_yield), SCMP_SYS(getpid),
                SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(restart_syscall), SCMP_SYS(exit),
                SCMP_SYS(exit_group)});
#if defined(__SANITIZE_ADDRESS__)
    // Called whenever libpng gives up on a file, which it does by a long jump.
    filter.add(SCMP_ACT_ALLOW, {SCMP_SYS(sigaltstack)});
#endif
    return filter.load();
}

}  // namespace

bool enterSandbox() {
    tidyDescriptors();
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) complain("Privileges can still be gained", errno);
    // Before Landlock, since it reads a file.
    limitResources();
    const int filesError = forbidFiles();
    if (filesError != 0) complain("Landlock does not hold", filesError);
    const int callsError = forbidCalls();
    if (callsError != 0) complain("seccomp does not hold", callsError);
    return filesError == 0 || callsError == 0;
}

}  // namespace quorvel::icons
