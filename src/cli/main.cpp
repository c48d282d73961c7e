#include <cstdio>
#include <exception>
#include <span>

#include "cli/CheckCommand.h"
#include "cli/CommandLine.h"
#include "platform/ProgramInfo.h"

namespace {

constexpr int unexpected = 1;
constexpr int wrongUsage = 2;

int run(std::span<const char* const> arguments) {
    const auto line = quorvel::parseCommandLine(arguments);
    if (!line) {
        std::fprintf(stderr, "quorvel-check: %s\nTry 'quorvel-check --help'.\n", line.error().c_str());
        return wrongUsage;
    }
    if (line->help) return std::fputs(quorvel::usageText, stdout) < 0 ? unexpected : 0;
    if (line->version) {
        return std::printf("quorvel-check %s\n", quorvel::thisProgram().shortVersion.value().c_str()) < 0
                   ? unexpected
                   : 0;
    }
    return quorvel::runCheckCommand(*line);
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        return run({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quorvel-check: Something unexpected happened: %s\n", error.what());
        return unexpected;
    }
}
