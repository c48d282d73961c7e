#include <cerrno>
#include <cstdio>
#include <exception>
#include <expected>
#include <filesystem>
#include <malloc.h>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include "entry/linux/DesktopProgram.h"
#include "platform/CommandOptions.h"
#include "platform/ProgramInfo.h"
#include "platform/System.h"
#include "platform/posix/http/CatalogAddress.h"
#include "platform/text/DisplayText.h"
#include "scanner/AppScannerService.h"

namespace quorvel {
namespace {

constexpr int wrongUsage = 2;

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

struct CommandLine {
    std::string action;
    /// The folders are absolute: a start at login has another working directory.
    std::optional<std::string> systemRoot, catalog, dataFolder;
    bool version = false;
    bool help = false;
};

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    const std::vector<CommandOption> options{
        textOption("action", line.action),        textOption("system-root", line.systemRoot),
        textOption("catalog", line.catalog),      textOption("data-dir", line.dataFolder),
        flagOption("version", line.version, 'V'), flagOption("help", line.help, 'h')};
    if (auto problem = readOptions(options, arguments)) return std::unexpected(std::move(*problem));
    if (!line.action.empty() && !isDesktopAction(line.action))
        return std::unexpected("There is no action " + line.action + "; --help lists them.");
    for (auto* const folder : {&line.systemRoot, &line.dataFolder}) {
        if (*folder) *folder = std::filesystem::absolute(**folder).lexically_normal().string();
    }
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

int fail(int status, const std::string& sentence) {
    std::fprintf(stderr, "quorvel: %s\n", onOneLine(sentence).c_str());
    return status;
}

int print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0) return 0;
    return fail(1, "Could not write to standard output: " + std::generic_category().message(errno) + ".");
}

int refuse(const std::string& problem) {
    return fail(wrongUsage, problem + " Try 'quorvel --help'.");
}

int run(std::span<const char* const> arguments) {
    const auto line = parseCommandLine(arguments);
    if (!line) return refuse(line.error());
    if (line->help) return print(usageText);
    if (line->version) return print("quorvel " + *thisProgram().shortVersion + "\n");
    const auto catalog = catalogAddress(line->catalog);
    if (!catalog) return refuse(catalog.error());
    const auto storage = line->dataFolder ? PersistenceManager::at(*line->dataFolder)
                                          : PersistenceManager::shared(applicationSupportFolder());
    return runDesktopProgram(
        {.scanRoots = line->systemRoot ? AppScannerService::rootsOfVolume(*line->systemRoot)
                                       : AppScannerService::standardRoots(),
         .catalogURL = *catalog,
         .environment = {thisProgram(), installedOSVersion(line->systemRoot.value_or("/"))},
         .persistence = storage,
         .optionsAtLogin = optionsToKeep(*line)},
        line->action);
}

}  // namespace
}  // namespace quorvel

int main(int argc, char* argv[]) {
    // Two threads that hardly ever allocate at the same time need no heap each.
    mallopt(M_ARENA_MAX, 1);
    return quorvel::run({argv + 1, argv + argc});
}
