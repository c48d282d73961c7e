#include "platform/macos/CallStack.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <execinfo.h>
#include <filesystem>

namespace quorvel {

namespace {

std::size_t capture(std::span<std::uintptr_t> frames) {
    constexpr std::size_t maxFrames = 64;
    std::array<void*, maxFrames> callers{};
    const int wanted = static_cast<int>(std::min(frames.size(), maxFrames));
    const int count = backtrace(callers.data(), wanted);
    std::transform(callers.begin(), callers.begin() + count, frames.begin(),
                   [](void* caller) { return reinterpret_cast<std::uintptr_t>(caller); });
    return static_cast<std::size_t>(count);
}

std::string symbol(std::uintptr_t frame) {
    Dl_info found{};
    if (dladdr(reinterpret_cast<void*>(frame), &found) == 0) return "(unknown function)";
    const auto base =
        reinterpret_cast<std::uintptr_t>(found.dli_sname != nullptr ? found.dli_saddr : found.dli_fbase);
    const std::string function =
        found.dli_sname != nullptr ? demangled(found.dli_sname) : "(unknown function)";
    return function + " + " + std::to_string(frame - base) + " in " +
           std::filesystem::path(found.dli_fname).filename().string();
}

std::vector<std::string> symbols(std::span<const std::uintptr_t> frames) {
    std::vector<std::string> lines(frames.size());
    std::ranges::transform(frames, lines.begin(), symbol);
    return lines;
}

}  // namespace

const CallStackReader callStackReader{capture, symbols};

}  // namespace quorvel
