#include "platform/linux/UncaughtExceptions.h"

#include <array>
#include <atomic>
#include <backtrace.h>
#include <cstdint>
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

std::function<void(const UncaughtException&)>& installedHandler() {
    static std::function<void(const UncaughtException&)> handler;
    return handler;
}

void ignoreError(void* /*data*/, const char* /*message*/, int /*number*/) {}

/// libbacktrace reads the program's debug information once and keeps it.
backtrace_state* symbols() {
    static backtrace_state* const state = backtrace_create_state(nullptr, 1, ignoreError, nullptr);
    return state;
}

int keepFrame(void* /*data*/, std::uintptr_t counter) {
    throwFrames[throwFrameCount++] = counter;
    return throwFrameCount == maxFrames ? 1 : 0;
}

std::string demangled(const char* name) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return status == 0 && text ? text.get() : name;
}

int addSymbol(void* data, std::uintptr_t /*counter*/, const char* file, int line, const char* function) {
    auto& lines = *static_cast<std::vector<std::string>*>(data);
    std::string text = function != nullptr ? demangled(function) : "(unknown function)";
    if (file != nullptr) text += " at " + std::string(file) + ":" + std::to_string(line);
    lines.push_back(std::move(text));
    return 0;
}

std::vector<std::string> throwSymbols() {
    std::vector<std::string> lines;
    for (std::size_t frame = 0; frame < throwFrameCount; ++frame) {
        backtrace_pcinfo(symbols(), throwFrames[frame], addSymbol, ignoreError, &lines);
    }
    return lines;
}

UncaughtException currentException() {
    if (!std::current_exception())
        return {.name = "terminate", .reason = std::nullopt, .callStackSymbols = {}};
    const std::type_info* type = abi::__cxa_current_exception_type();
    UncaughtException current{.name = type != nullptr ? demangled(type->name()) : "unknown exception",
                              .reason = std::nullopt,
                              .callStackSymbols = throwSymbols()};
    try {
        throw;
    } catch (const std::exception& exception) {
        current.reason = exception.what();
    } catch (...) {
        // Says no more than its type.
    }
    return current;
}

[[noreturn]] void handleTermination() {
    static std::atomic<bool> isUnderWay = false;
    // A fault of the handler itself, or of a second thread meanwhile, must not start it again.
    if (isUnderWay.exchange(true)) _exit(EXIT_FAILURE);
    try {
        installedHandler()(currentException());
    } catch (...) {
        // Nobody is left to report to, and the runtime would abort.
    }
    _exit(EXIT_FAILURE);
}

}  // namespace

void onUncaughtException(std::function<void(const UncaughtException&)> handler) {
    installedHandler() = std::move(handler);
    isRemembering = true;
    std::set_terminate(handleTermination);
}

namespace throwing {

/// Called for each exception thrown in the process, before the C++ runtime unwinds.
void remember() {
    if (!isRemembering) return;
    throwFrameCount = 0;
    constexpr int innermostToSkip = 2;
    backtrace_simple(symbols(), innermostToSkip, keepFrame, ignoreError, nullptr);
}

}  // namespace throwing

}  // namespace quorvel

/// Stands before the C++ runtime's function of that symbol, which it calls. The name in this file is another
/// one, since compilers know the runtime's by a type of their own.
extern "C" [[noreturn]] void rememberAndThrow(void* exception, std::type_info* type,
                                              void (*destroy)(void*)) __asm__("__cxa_throw");

extern "C" [[noreturn]] void rememberAndThrow(void* exception, std::type_info* type, void (*destroy)(void*)) {
    using Throw = void (*)(void*, std::type_info*, void (*)(void*));
    static const auto original = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "__cxa_throw"));
    quorvel::throwing::remember();
    original(exception, type, destroy);
    std::abort();
}
