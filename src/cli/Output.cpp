#include "cli/Output.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <system_error>
#include <unistd.h>

#include "platform/text/DisplayText.h"

namespace quorvel::output {

namespace {

void sayWriteError(int error) {
    say("Could not write to standard output: " + std::generic_category().message(error) + ".");
}

}  // namespace

void say(std::string_view sentence) {
    std::fprintf(stderr, "quorvel-check: %s\n", onOneLine(sentence).c_str());
}

bool print(std::string_view text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return true;
    sayWriteError(errno);
    return false;
}

bool isStandardOutputOpen() {
    if (fcntl(STDOUT_FILENO, F_GETFD) >= 0) return true;
    sayWriteError(errno);
    return false;
}

}  // namespace quorvel::output
