#include <expected>
#include <malloc.h>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "entry/ProgramOptions.h"
#include "entry/linux/DesktopProgram.h"
#include "platform/CommandOptions.h"

namespace quorvel {
namespace {

constexpr const char* usageText =
    R"(Usage: quorvel [OPTION]...
Shows in the panel which installed applications have newer versions in the
Orbisto catalog.

  --action NAME         check-for-updates, show-error-log, ignored-versions,
                        about or quit; carried out by the instance that runs
                        already, if one does
  --system-root DIR     search the application folders of the macOS volume at
                        DIR, those of all its users included, and take its
                        OS version
  --catalog URL         base URL of the catalog's API
                        (default: $QUORVEL_CATALOG_URL, else the build's own)
  --data-dir DIR        folder for the settings, the instance id, the ignored
                        versions and the log (default: $XDG_DATA_HOME/quorvel
                        or ~/.local/share/quorvel)
  -V, --version         print the program's version
  -h, --help            print this text

"Open at Login" in the menu keeps the folders and the catalog given here. They
do not change an instance that runs already.

Examples
  quorvel
  quorvel --system-root /Volumes/Backup
  quorvel --action check-for-updates

The manual is quorvel(1).
)";

struct CommandLine : ProgramOptions {
    std::string action;
};

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    auto options = line.readers();
    options.push_back(textOption("action", line.action));
    if (auto problem = readOptions(options, arguments)) return std::unexpected(std::move(*problem));
    if (!line.action.empty() && !isDesktopAction(line.action))
        return std::unexpected("There is no action " + line.action + "; --help lists them.");
    line.makeAbsolute();
    return line;
}

/// What a start at login needs to be the same.
std::vector<std::string> optionsToKeep(const CommandLine& line) {
    std::vector<std::string> words;
    for (const auto& [name, value] : {std::pair{"--system-root", line.systemRoot},
                                      {"--catalog", line.catalog},
                                      {"--data-dir", line.dataFolder}}) {
        if (value) words.insert(words.end(), {name, *value});
    }
    return words;
}

int run(std::span<const char* const> arguments) {
    const auto line = parseCommandLine(arguments);
    if (!line) return refuse(line.error());
    if (line->help) return print(usageText);
    if (line->version) return printVersion();
    const auto setup = setUp(*line);
    if (!setup) return refuse(setup.error());
    return runDesktopProgram({*setup, optionsToKeep(*line)}, line->action);
}

}  // namespace
}  // namespace quorvel

int main(int argc, char* argv[]) {
    // Two threads that hardly ever allocate at the same time need no heap each.
    mallopt(M_ARENA_MAX, 1);
    return quorvel::run({argv + 1, argv + argc});
}
