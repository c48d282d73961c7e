#include <cstdlib>
#include <dlfcn.h>
#include <stdexcept>
#include <unistd.h>

/// Loaded into a program in front of the C library: the first `fsync` after the file that
/// QUORVEL_TEST_THROWS_ONCE names has come, and takes it away, throws what no program expects.
extern "C" int fsync(int descriptor) {
    const char* const trigger = std::getenv("QUORVEL_TEST_THROWS_ONCE");
    if (trigger != nullptr && unlink(trigger) == 0) throw std::runtime_error("The disk is gone.");
    using Sync = int (*)(int);
    static const auto next = reinterpret_cast<Sync>(dlsym(RTLD_NEXT, "fsync"));
    return next(descriptor);
}
