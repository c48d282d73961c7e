#include "cli/Terminal.h"

#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace quorvel {

namespace {

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

}  // namespace quorvel
