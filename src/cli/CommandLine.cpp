#include "cli/CommandLine.h"

#include <algorithm>
#include <utility>

#include "platform/CommandOptions.h"
#include "platform/posix/http/CatalogAddress.h"

namespace quorvel {

const char* const usageText =
    R"(Usage: quorvel-check [OPTION]...
Tells which installed applications have newer versions in the Orbisto catalog.

Where to look
  --root DIR            search this folder; may be given several times
                        (default: /Applications, ~/Applications,
                        /System/Applications)
  --system-root DIR     search the application folders of the macOS volume at
                        DIR, those of all its users included, and take its
                        OS version
  --os-version X.Y.Z    take this as the running macOS version

Whom to ask, what to keep
  --catalog URL         base URL of the catalog's API
                        (default: $QUORVEL_CATALOG_URL, else the build's own)
  --timeout SECONDS     give a request up after so much silence (default: 60)
  --data-dir DIR        folder for the instance id, the ignored versions and
                        the log (default: $XDG_DATA_HOME/quorvel or
                        ~/.local/share/quorvel)

What to print
  --all                 every application with its outcome, and each bundle
                        that could not be listed
  --json                one JSON document (quorvel-check/1)
  --exit-zero           exit with 0 also when newer versions exist

In place of a check
  --explain NAME        tell of one application, by name or bundle identifier,
                        how its version compares with the catalog's, and why
  --ignore IDENTIFIER   ignore the version that the catalog now offers for it
  --unignore IDENTIFIER listen to its newer versions again
  --show-request        print the requests of a first and of a later check,
                        the credentials masked, and send nothing
  -V, --version         print the program's version
  -h, --help            print this text

Exit status
  0    nothing newer               4   the catalog was not reached
  100  newer versions exist        5   the catalog refused, or its answer was
  3    partial: something could        not understood
       not be read or asked        6   there is no folder to look into
  1    something unexpected        2   wrong usage

Examples
  quorvel-check --all
  quorvel-check --system-root /Volumes/Backup --json
  quorvel-check --explain com.example.editor

The manual is quorvel-check(1); what the version order gets wrong stands in
limits.md among the documents.
)";

namespace {

using Problem = std::optional<std::string>;

CommandOption pathsOption(std::string name, std::vector<std::filesystem::path>& paths) {
    return {.name = std::move(name), .takesValue = true, .handle = [&paths](const std::string& value) {
                paths.emplace_back(value);
                return Problem();
            }};
}

CommandOption osVersionOption(RunningSystem& system) {
    return {.name = "os-version", .takesValue = true, .handle = [&](const std::string& value) -> Problem {
                const auto version = parseOSVersion(value);
                if (version) system = {*version, RunningSystem::Source::given};
                if (version) return std::nullopt;
                return "--os-version: " + value + " is not of the form X.Y.Z.";
            }};
}

CommandOption timeoutOption(CommandLine& line) {
    return {.name = "timeout", .takesValue = true, .handle = [&line](const std::string& value) -> Problem {
                constexpr int max = 3600;
                const auto number = numberBetween(1, max, value);
                if (!number) return "--timeout takes a number of seconds from 1 to 3600, not " + value + ".";
                line.timeout = std::chrono::seconds(*number);
                return std::nullopt;
            }};
}

/// What else is wrong once every option by itself is right.
Problem contradiction(const CommandLine& line) {
    const int modes = int{line.showRequest} + int{line.explain.has_value()} + int{line.ignore.has_value()} +
                      int{line.unignore.has_value()};
    if (modes > 1)
        return "Only one of --show-request, --explain, --ignore and --unignore can be done at a time.";
    if (modes == 1 && line.json) return "--json goes with a check, and with nothing in place of one.";
    return std::nullopt;
}

}  // namespace

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    std::optional<std::string> catalog;
    const std::vector<CommandOption> options{pathsOption("root", line.roots),
                                             textOption("system-root", line.systemRoot),
                                             osVersionOption(line.system),
                                             textOption("catalog", catalog),
                                             timeoutOption(line),
                                             textOption("data-dir", line.dataFolder),
                                             flagOption("all", line.all),
                                             flagOption("json", line.json),
                                             flagOption("exit-zero", line.exitZero),
                                             textOption("explain", line.explain),
                                             textOption("ignore", line.ignore),
                                             textOption("unignore", line.unignore),
                                             flagOption("show-request", line.showRequest),
                                             flagOption("version", line.version, 'V'),
                                             flagOption("help", line.help, 'h')};
    if (auto problem = readOptions(options, arguments)) return std::unexpected(std::move(*problem));
    if (line.help || line.version) return line;
    auto address = catalogAddress(catalog);
    if (!address) return std::unexpected(std::move(address.error()));
    line.catalog = std::move(*address);
    const auto ownVersion = readOSVersion(line.systemRoot.value_or("/"));
    if (ownVersion && line.system.source != RunningSystem::Source::given)
        line.system = {*ownVersion, RunningSystem::Source::system};
    if (line.dataFolder) line.dataFolder = std::filesystem::absolute(*line.dataFolder);
    if (auto problem = contradiction(line)) return std::unexpected(std::move(*problem));
    return line;
}

}  // namespace quorvel
