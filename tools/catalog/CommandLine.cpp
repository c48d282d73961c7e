#include "CommandLine.h"

#include <filesystem>

#include "platform/CommandOptions.h"

namespace quorvel {

namespace {

using Problem = std::optional<std::string>;

CommandOption textOption(std::string name, std::string& text) {
    return {.name = std::move(name), .takesValue = true, .handle = [&text](const std::string& value) {
                text = value;
                return Problem();
            }};
}

template <typename Take>
CommandOption numberOption(std::string name, int greatest, Take take) {
    const std::string refusal =
        "--" + name + " takes a number from 0 to " + std::to_string(greatest) + ", not ";
    return {.name = std::move(name), .takesValue = true, .handle = [=](const std::string& value) -> Problem {
                const auto number = numberBetween(0, greatest, value);
                if (!number) return refusal + value + ".";
                take(*number);
                return std::nullopt;
            }};
}

CommandOption scenarioOption(Scenario::Name& scenario) {
    return {.name = "scenario", .takesValue = true, .handle = [&](const std::string& value) -> Problem {
                const auto name = Scenario::named(value);
                if (!name) return "There is no scenario " + value + "; --help lists them.";
                scenario = *name;
                return std::nullopt;
            }};
}

}  // namespace

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    std::string certificate, key, record;
    const std::vector<CommandOption> options{
        textOption("data", line.dataFile),
        textOption("record", record),
        scenarioOption(line.scenario),
        numberOption("port", 65535, [&](int port) { line.server.port = port; }),
        numberOption("pause-ms", 3'600'000,
                     [&](int pause) { line.server.pause = std::chrono::milliseconds(pause); }),
        textOption("certificate", certificate),
        textOption("key", key),
        flagOption("version", line.version, 'V'),
        flagOption("help", line.help, 'h')};
    const auto words = readOptions(options, arguments);
    if (!words) return std::unexpected(words.error());
    if (!words->empty()) return std::unexpected("There is no use for the word " + words->front() + ".");
    if (line.help || line.version) return line;
    if (line.dataFile.empty()) return std::unexpected("--data FILE is missing.");
    if (certificate.empty() != key.empty()) return std::unexpected("--certificate and --key go together.");
    if (!certificate.empty()) line.server.certificate = {certificate, key};
    if (!record.empty()) line.recordFile = record;
    return line;
}

std::string helpText() {
    std::string text =
        "Usage: quorvel-catalog --data FILE [OPTION...]\n"
        "A software catalog on this machine's loopback address, for demonstrations and\n"
        "tests. Its first line on standard output is its base URL. It ends on SIGTERM or\n"
        "SIGINT.\n\n"
        "  --data FILE        the applications that the catalog knows, as JSON\n"
        "  --port N           the port to listen on; 0, the default, takes a free one\n"
        "  --certificate FILE serve HTTPS with this certificate, and the key beside it\n"
        "  --key FILE         the certificate's key; both are PEM files\n"
        "  --record FILE      append each request to FILE, one JSON document a line\n"
        "  --scenario NAME    misbehave, in one of the ways below\n"
        "  --pause-ms N       how long the scenario \"slow\" waits; 2000 by default\n"
        "  -h, --help         print this text and end\n"
        "  -V, --version      print the version and end\n\n"
        "Scenarios:\n";
    for (const auto& [name, option, sentence] : Scenario::all()) {
        constexpr std::size_t column = 19;
        text += "  " + std::string(option) + std::string(column - option.size(), ' ') +
                std::string(sentence) + "\n";
    }
    return text + "\nExit status: 0 ended by a signal, 1 cannot serve, 2 bad usage.\n";
}

}  // namespace quorvel
