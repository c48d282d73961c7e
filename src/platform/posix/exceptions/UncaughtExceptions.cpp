#include "platform/posix/exceptions/UncaughtExceptions.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <exception>
#include <memory>
#include <typeinfo>
#include <unistd.h>
#include <utility>

namespace quorvel {

namespace {

constexpr std::size_t maxFrames = 64;

/// Where the newest exception of this thread was thrown; unwinding destroys the stack before anybody can ask.
thread_local std::array<std::uintptr_t, maxFrames> throwFrames{};
thread_local std::size_t throwFrameCount = 0;

std::atomic<bool> isRemembering = false;

struct Installed {
    CallStackReader reader;
    std::function<void(const UncaughtException&)> handler;
};

Installed& installed() {
    static Installed both;
    return both;
}

UncaughtException currentException() {
    if (!std::current_exception())
        return {.name = "terminate", .reason = std::nullopt, .callStackSymbols = {}};
    const std::type_info* type = abi::__cxa_current_exception_type();
    UncaughtException current{
        .name = type != nullptr ? demangled(type->name()) : "unknown exception",
        .reason = std::nullopt,
        .callStackSymbols = installed().reader.symbols({throwFrames.data(), throwFrameCount})};
    try {
        throw;
    } catch (const std::exception& exception) {
        current.reason = exception.what();
    } catch (...) {
        // Says no more than its type.
    }
    return current;
}

template <typename Exception>
[[noreturn]] void end(Exception exception) {
    static std::atomic<bool> isUnderWay = false;
    // A fault of the handler itself, or of a second thread meanwhile, must not start it again.
    if (isUnderWay.exchange(true)) _exit(EXIT_FAILURE);
    try {
        installed().handler(exception());
    } catch (...) {
        // Nobody is left to report to, and the runtime would abort.
    }
    _exit(EXIT_FAILURE);
}

/// Called for each exception thrown in the process, before the C++ runtime unwinds.
void remember(std::uintptr_t thrower) {
    if (!isRemembering) return;
    const auto count = installed().reader.capture(throwFrames);
    // The frames before it are of those who remember. Some readers tell the call, some where it returns to.
    const auto first = std::find_if(throwFrames.begin(), throwFrames.begin() + count,
                                    [&](auto frame) { return frame == thrower || frame + 1 == thrower; });
    throwFrameCount = static_cast<std::size_t>(
        std::move(first, throwFrames.begin() + count, throwFrames.begin()) - throwFrames.begin());
}

}  // namespace

void onUncaughtException(CallStackReader reader, std::function<void(const UncaughtException&)> handler) {
    installed() = {reader, std::move(handler)};
    isRemembering = true;
    std::set_terminate([] { end(currentException); });
}

void endWith(const UncaughtException& exception) {
    end([&] { return exception; });
}

std::string demangled(const char* name) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 && text ? text.get() : name;
}

}  // namespace quorvel

#define QUORVEL_TEXT_OF(word) #word
#define QUORVEL_SYMBOL(prefix, name) QUORVEL_TEXT_OF(prefix) name

/// Stands before the C++ runtime's function of that symbol, which it calls. The name in this file is another
/// one, since compilers know the runtime's by a type of their own.
extern "C" [[noreturn]] void rememberAndThrow(
    void* exception, std::type_info* type,
    void (*destroy)(void*)) __asm__(QUORVEL_SYMBOL(__USER_LABEL_PREFIX__, "__cxa_throw"));

extern "C" [[noreturn]] void rememberAndThrow(void* exception, std::type_info* type, void (*destroy)(void*)) {
    using Throw = void (*)(void*, std::type_info*, void (*)(void*));
    static const auto original = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
    quorvel::remember(reinterpret_cast<std::uintptr_t>(__builtin_return_address(0)));
    original(exception, type, destroy);
    std::abort();
}
