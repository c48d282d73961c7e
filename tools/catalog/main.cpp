#include <algorithm>
#include <csignal>
#include <expected>
#include <iostream>
#include <optional>
#include <pthread.h>
#include <span>
#include <string>

#include "Catalog.h"
#include "CatalogServer.h"
#include "Scenario.h"
#include "platform/CommandOptions.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

/// What the user asked for.
struct CommandLine {
    bool help = false;
    bool version = false;
    std::string dataFile;
    CatalogServer::Options server;
};

using Problem = std::optional<std::string>;

template <typename Handle>
CommandOption numberOption(std::string name, int max, Handle handle) {
    const std::string refusal = "--" + name + " takes a number from 0 to " + std::to_string(max) + ", not ";
    return {.name = std::move(name), .takesValue = true, .handle = [=](const std::string& value) -> Problem {
                const auto number = numberBetween(0, max, value);
                if (!number) return refusal + value + ".";
                handle(*number);
                return std::nullopt;
            }};
}

CommandOption scenarioOption(const Scenario*& scenario) {
    return {.name = "scenario", .takesValue = true, .handle = [&](const std::string& value) -> Problem {
                const auto found = std::ranges::find(Scenario::all(), value, &Scenario::name);
                if (found == Scenario::all().end())
                    return "There is no scenario " + value + "; --help lists them.";
                scenario = &*found;
                return std::nullopt;
            }};
}

/// The error is a sentence.
std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments) {
    CommandLine line;
    auto& server = line.server;
    const std::vector<CommandOption> options{
        textOption("data", line.dataFile),
        textOption("record", server.recordFile),
        scenarioOption(server.scenario),
        numberOption("port", 65535, [&](int port) { server.port = port; }),
        numberOption("pause-ms", 3'600'000,
                     [&](int pause) { server.pause = std::chrono::milliseconds(pause); }),
        textOption("certificate", server.certificateFile),
        textOption("key", server.keyFile),
        flagOption("version", line.version, 'V'),
        flagOption("help", line.help, 'h')};
    if (auto problem = readOptions(options, arguments)) return std::unexpected(std::move(*problem));
    if (line.help || line.version) return line;
    if (line.dataFile.empty()) return std::unexpected("--data FILE is missing.");
    if (server.certificateFile.empty() != server.keyFile.empty())
        return std::unexpected("--certificate and --key go together.");
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
    for (const auto& scenario : Scenario::all()) {
        constexpr std::size_t column = 19;
        text += "  " + std::string(scenario.name) + std::string(column - scenario.name.size(), ' ') +
                std::string(scenario.sentence) + "\n";
    }
    return text + "\nExit status: 0 ended by a signal, 1 cannot serve, 2 bad usage.\n";
}

constexpr const char* outputFailed = "Could not write to standard output.";

int fail(int status, const std::string& sentence) {
    std::cerr << "quorvel-catalog: " << onOneLine(sentence) << '\n';
    return status;
}

/// The signals that end the program, blocked in this thread and in each that it starts, so that only
/// `sigwait` receives them.
sigset_t blockedEndSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return signals;
}

int serve(const CommandLine& line) {
    const auto catalog = Catalog::load(line.dataFile);
    if (!catalog) return fail(1, catalog.error());
    const sigset_t endSignals = blockedEndSignals();
    CatalogServer server(*catalog, line.server);
    const auto url = server.start();
    if (!url) return fail(1, url.error());
    if (!(std::cout << *url << '\n' << std::flush)) return fail(1, outputFailed);

    int received = 0;
    sigwait(&endSignals, &received);
    server.stop();
    return 0;
}

}  // namespace

}  // namespace quorvel

int main(int count, char** arguments) {
    using namespace quorvel;
    const auto line = parseCommandLine({arguments + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)});
    if (!line) return fail(2, line.error() + " Try --help.");
    if (!line->help && !line->version) return serve(*line);
    std::cout << (line->help ? helpText() : "quorvel-catalog " QUORVEL_VERSION "\n") << std::flush;
    return std::cout ? 0 : fail(1, outputFailed);
}
