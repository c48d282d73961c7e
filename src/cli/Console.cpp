#include "cli/Console.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

ExitStatus failToWrite(int error) {
    return console::fail(ExitStatus::unexpected, "Could not write to standard output: " +
                                                     std::generic_category().message(error) + ".");
}

/// A dumb terminal shows the sequences themselves.
bool takesEscapeSequences() {
    const char* kind = std::getenv("TERM");
    return kind != nullptr && std::string_view(kind) != "dumb";
}

/// By the convention of no-color.org, an empty value counts as not set.
bool userWantsNoColour() {
    const char* noColour = std::getenv("NO_COLOR");
    return noColour != nullptr && noColour[0] != '\0';
}

}  // namespace

ExitStatus console::fail(ExitStatus status, std::string_view sentence) {
    std::fprintf(stderr, "quorvel-check: %s\n", onOneLine(sentence).c_str());
    return status;
}

ExitStatus console::print(std::string_view text) {
    errno = 0;
    const bool isWritten = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
    return isWritten && std::fflush(stdout) == 0 ? ExitStatus::nothingNewer : failToWrite(errno);
}

bool console::isStandardOutputOpen() {
    if (fcntl(STDOUT_FILENO, F_GETFD) >= 0) return true;
    failToWrite(errno);
    return false;
}

Terminal describeTerminal(int descriptor) {
    Terminal terminal;
    terminal.isTerminal = isatty(descriptor) != 0;
    terminal.hasControls = terminal.isTerminal && takesEscapeSequences();
    if (!terminal.hasControls) return terminal;
    terminal.colour = !userWantsNoColour();
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) terminal.width = size.ws_col;
    return terminal;
}

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
