#include <exception>
#include <span>
#include <string>

#include "cli/Commands.h"
#include "platform/ProgramInfo.h"

namespace {

using namespace quorvel;

ExitStatus run(std::span<const char* const> arguments) {
    if (!console::isStandardOutputOpen()) return ExitStatus::unexpected;
    const auto line = parseCommandLine(arguments);
    if (!line) return console::fail(ExitStatus::wrongUsage, line.error() + " Try 'quorvel-check --help'.");
    if (line->help) return console::print(usageText);
    if (line->version) return console::print("quorvel-check " + *thisProgram().shortVersion + "\n");
    const bool isFleet = !line->inventories.empty();
    if (line->showRequest) return isFleet ? showFleetRequests(*line) : showRequests(*line);
    if (line->explain) return explainApplication(*line, *line->explain);
    if (line->ignore) return ignoreOfferedVersion(*line, *line->ignore);
    if (line->unignore) return unignore(*line, *line->unignore);
    return isFleet ? checkFleet(*line) : checkApplications(*line);
}

}  // namespace

int main(int argc, char* argv[]) {
    try {
        return static_cast<int>(run({argv + 1, argv + argc}));
    } catch (const std::exception& error) {
        return static_cast<int>(console::fail(ExitStatus::unexpected,
                                              std::string("Something unexpected happened: ") + error.what()));
    }
}
