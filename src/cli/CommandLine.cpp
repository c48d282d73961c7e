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
  --inventory FILE      read what is installed on other Macs from an inventory
                        of osquery, Fleet or munki; a folder stands for the
                        files in it, - for standard input; may be given
                        several times
  --host NAME           of the inventories, show this host alone; may be given
                        several times

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
  --json                one JSON document (quorvel-check/1; of inventories
                        quorvel-fleet/1)
  --json-lines          of inventories, a line of JSON for each host
  --prometheus FILE     write metrics there as well, for node_exporter's
                        textfile collector
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
       not be read or asked        6   no folder or inventory could be read
  1    something unexpected        2   wrong usage

Examples
  quorvel-check --all
  quorvel-check --system-root /Volumes/Backup --json
  quorvel-check --explain com.example.editor
  quorvel-check --inventory /var/lib/inventories --json

The manual is quorvel-check(1); what the version order gets wrong stands in
limits.md among the documents.
)";

namespace {

using Problem = std::optional<std::string>;

template <typename Text>
CommandOption listOption(std::string name, std::vector<Text>& list) {
    return {.name = std::move(name), .takesValue = true, .handle = [&list](const std::string& value) {
                list.emplace_back(value);
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
    for (const auto& [isGiven, option] : {std::pair{line.json, "--json"},
                                          {line.jsonLines, "--json-lines"},
                                          {line.prometheus.has_value(), "--prometheus"}}) {
        if (modes == 1 && isGiven)
            return std::string(option) + " goes with a check, and with nothing in place of one.";
    }
    if (line.inventories.empty()) {
        if (line.jsonLines || !line.hosts.empty())
            return std::string(line.jsonLines ? "--json-lines" : "--host") + " needs an --inventory.";
        return std::nullopt;
    }
    if (!line.roots.empty() || line.systemRoot)
        return "--inventory stands in place of folders: neither --root nor --system-root goes with it.";
    if (modes == 1 && !line.showRequest)
        return "--explain, --ignore and --unignore are about this Mac, and do not go with --inventory.";
    if (line.json && line.jsonLines) return "Only one of --json and --json-lines can be printed at a time.";
    return std::nullopt;
}

}  // namespace

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    std::optional<std::string> catalog;
    const std::vector<CommandOption> options{listOption("root", line.roots),
                                             textOption("system-root", line.systemRoot),
                                             osVersionOption(line.system),
                                             listOption("inventory", line.inventories),
                                             listOption("host", line.hosts),
                                             textOption("catalog", catalog),
                                             timeoutOption(line),
                                             textOption("data-dir", line.dataFolder),
                                             flagOption("all", line.all),
                                             flagOption("json", line.json),
                                             flagOption("json-lines", line.jsonLines),
                                             textOption("prometheus", line.prometheus),
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
    if (line.prometheus) line.prometheus = std::filesystem::absolute(*line.prometheus);
    if (line.dataFolder) line.dataFolder = std::filesystem::absolute(*line.dataFolder);
    if (auto problem = contradiction(line)) return std::unexpected(std::move(*problem));
    return line;
}

}  // namespace quorvel
