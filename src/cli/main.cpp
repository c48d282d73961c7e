#include <exception>
#include <span>
#include <string>

#include "cli/CheckCommand.h"
#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "platform/ProgramInfo.h"

namespace {

using quorvel::ExitStatus;

ExitStatus print(const std::string& text) {
    return quorvel::output::print(text) ? ExitStatus::nothingNewer : ExitStatus::unexpected;
}

ExitStatus run(std::span<const char* const> arguments) {
    if (!quorvel::output::isStandardOutputOpen()) return ExitStatus::unexpected;
    const auto line = quorvel::parseCommandLine(arguments);
    if (!line) {
        quorvel::output::say(line.error() + " Try 'quorvel-check --help'.");
        return ExitStatus::wrongUsage;
    }
    if (line->help) return print(quorvel::usageText);
    if (line->version) return print("quorvel-check " + *quorvel::thisProgram().shortVersion + "\n");
    return quorvel::runCheckCommand(*line);
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        return static_cast<int>(run({argv + 1, argv + argc}));
    } catch (const std::exception& error) {
        quorvel::output::say(std::string("Something unexpected happened: ") + error.what());
        return static_cast<int>(ExitStatus::unexpected);
    }
}
