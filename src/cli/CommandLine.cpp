#include "cli/CommandLine.h"

#include <functional>
#include <map>
#include <string_view>

#include "platform/ProgramInfo.h"

namespace quorvel {

const char* const usageText =
    R"(Usage: quorvel-check [OPTION]...
Tells which installed applications have newer versions in the Orbisto catalog.

Where to look
  --root DIR           search this folder; may be given several times
                       (default: /Applications, ~/Applications, /System/Applications)
  --system-root DIR    search the application folders of the macOS volume at DIR,
                       those of all its users included, and take its OS version
  --os-version X.Y.Z   take this as the running macOS version

Whom to ask, what to keep
  --catalog URL        base URL of the catalog's API
  --data-dir DIR       folder for the instance id, the ignored versions and the log
                       (default: $XDG_DATA_HOME/quorvel or ~/.local/share/quorvel)

What to print
  --all                every application with its outcome, and each bundle that
                       could not be listed
  --json               one JSON document (quorvel-check/1)
  --show-request       print the bodies of the requests that the check would begin
                       with, the secret masked, and send nothing
  --exit-zero          exit with 0 also when newer versions exist
  --version            print the program's version
  --help               print this text

Exit status
  0    nothing newer               4    no connection, or the catalog was not reached
  100  newer versions exist        5    the catalog refused or was not understood
  3    some requests failed        1    something unexpected    2    wrong usage
)";

namespace {

using Problem = std::optional<std::string>;

Problem existingFolder(std::string_view option, const std::filesystem::path& folder) {
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) return std::nullopt;
    return std::string(option) + ": there is no folder " + folder.string() + ".";
}

bool isWebAddress(std::string_view text) {
    for (const std::string_view scheme : {"https://", "http://"}) {
        if (text.starts_with(scheme) && text.size() > scheme.size()) return true;
    }
    return false;
}

/// What each option does with its value.
std::map<std::string_view, std::function<Problem(std::string_view)>> valueOptions(CommandLine& line) {
    return {{"--root",
             [&](std::string_view value) {
                 line.roots.emplace_back(value);
                 return existingFolder("--root", line.roots.back());
             }},
            {"--system-root",
             [&](std::string_view value) {
                 line.systemRoot = value;
                 return existingFolder("--system-root", *line.systemRoot);
             }},
            {"--catalog",
             [&](std::string_view value) -> Problem {
                 line.catalog = value;
                 if (isWebAddress(value)) return std::nullopt;
                 return "--catalog: " + line.catalog + " is no https or http address.";
             }},
            {"--data-dir",
             [&](std::string_view value) -> Problem {
                 line.dataFolder = std::filesystem::absolute(value);
                 return std::nullopt;
             }},
            {"--os-version", [&](std::string_view value) -> Problem {
                 line.osVersion = parseOSVersion(value);
                 if (line.osVersion) return std::nullopt;
                 return "--os-version: " + std::string(value) + " is not of the form X.Y.Z.";
             }}};
}

std::map<std::string_view, bool*> switches(CommandLine& line) {
    return {{"--all", &line.all},
            {"--json", &line.json},
            {"--show-request", &line.showRequest},
            {"--exit-zero", &line.exitZero},
            {"--version", &line.version},
            {"--help", &line.help}};
}

}  // namespace

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    line.catalog = catalogURL;
    const auto withValue = valueOptions(line);
    const auto withoutValue = switches(line);
    for (std::size_t index = 0; index < arguments.size(); ++index) {
        const std::string_view argument = arguments[index];
        const auto equals = argument.find('=');
        const auto name = argument.substr(0, equals);
        if (const auto flag = withoutValue.find(argument); flag != withoutValue.end()) {
            *flag->second = true;
            continue;
        }
        const auto option = withValue.find(name);
        if (option == withValue.end()) return std::unexpected("unknown argument " + std::string(argument));
        const bool isInline = equals != std::string_view::npos;
        if (!isInline && index + 1 == arguments.size()) {
            return std::unexpected(std::string(name) + " needs a value.");
        }
        const std::string_view value = isInline ? argument.substr(equals + 1) : arguments[++index];
        if (value.empty()) return std::unexpected(std::string(name) + " needs a value.");
        if (auto problem = option->second(value)) return std::unexpected(std::move(*problem));
    }
    return line;
}

}  // namespace quorvel
