#include "cli/Progress.h"

#include <chrono>
#include <utility>

namespace quorvel {

Progress::Progress(Queue& queue, const Terminal& terminal, std::FILE* stream)
    : hasControls(terminal.hasControls), stream(stream) {
    constexpr std::chrono::seconds silence{1};
    if (hasControls) queue.postAfter(silence, [this] { show(); });
}

void Progress::waitFor(std::string newText) {
    what = std::move(newText);
    if (isDue) show();
}

void Progress::show() {
    isDue = true;
    if (!hasControls || what.empty()) return;
    std::fprintf(stream, "\r\x1b[K%s", what.c_str());
    std::fflush(stream);
    isShown = true;
}

void Progress::clear() {
    if (std::exchange(isShown, false)) std::fputs("\r\x1b[K", stream);
    what.clear();
}

}  // namespace quorvel
