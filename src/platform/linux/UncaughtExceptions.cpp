#include "platform/linux/UncaughtExceptions.h"

#include <backtrace.h>
#include <utility>

#include "platform/posix/exceptions/UncaughtExceptions.h"

namespace quorvel {

namespace {

void ignoreError(void* /*data*/, const char* /*message*/, int /*number*/) {}

/// libbacktrace reads the program's debug information once and keeps it.
backtrace_state* debugInformation() {
    static backtrace_state* const state = backtrace_create_state(nullptr, 1, ignoreError, nullptr);
    return state;
}

struct Frames {
    std::span<std::uintptr_t> room;
    std::size_t count = 0;
};

int keepFrame(void* data, std::uintptr_t counter) {
    auto& frames = *static_cast<Frames*>(data);
    frames.room[frames.count++] = counter;
    return frames.count == frames.room.size() ? 1 : 0;
}

std::size_t capture(std::span<std::uintptr_t> room) {
    Frames frames{room};
    backtrace_simple(debugInformation(), 0, keepFrame, ignoreError, &frames);
    return frames.count;
}

int addSymbol(void* data, std::uintptr_t /*counter*/, const char* file, int line, const char* function) {
    auto& lines = *static_cast<std::vector<std::string>*>(data);
    std::string text = function != nullptr ? demangled(function) : "(unknown function)";
    if (file != nullptr) text += " at " + std::string(file) + ":" + std::to_string(line);
    lines.push_back(std::move(text));
    return 0;
}

/// Function, file and line; functions that were inlined have lines of their own.
std::vector<std::string> symbols(std::span<const std::uintptr_t> frames) {
    std::vector<std::string> lines;
    for (const auto frame : frames)
        backtrace_pcinfo(debugInformation(), frame, addSymbol, ignoreError, &lines);
    return lines;
}

}  // namespace

void onUncaughtException(std::function<void(const UncaughtException&)> handler) {
    onUncaughtException({capture, symbols}, std::move(handler));
}

}  // namespace quorvel
