#include "CommandLine.h"

#include <charconv>
#include <string_view>

namespace quorvel {

namespace {

/// What is wrong with the command line; never leaves this file.
struct BadUsage {
    std::string sentence;
};

class Arguments {
public:
    explicit Arguments(std::span<const char* const> texts) : rest(texts) {}

    bool empty() const { return rest.empty(); }

    std::string_view next() {
        const std::string_view first = rest.front();
        rest = rest.subspan(1);
        return first;
    }

    std::string value(std::string_view option) {
        if (rest.empty()) throw BadUsage{std::string(option) + " needs a value."};
        return std::string(next());
    }

    int number(std::string_view option, int greatest) {
        const std::string text = value(option);
        int number = -1;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc{} || end != text.data() + text.size() || number < 0 || number > greatest)
            throw BadUsage{std::string(option) + " takes a number from 0 to " + std::to_string(greatest) +
                           ", not \"" + text + "\"."};
        return number;
    }

private:
    std::span<const char* const> rest;
};

Scenario::Name scenarioOf(const std::string& text) {
    const auto name = Scenario::named(text);
    if (!name) throw BadUsage{"There is no scenario \"" + text + "\"; --help lists them."};
    return *name;
}

void readOption(std::string_view option, Arguments& arguments, CommandLine& line) {
    constexpr int greatestPort = 65535;
    constexpr int greatestPause = 3'600'000;
    if (option == "--help")
        line.help = true;
    else if (option == "--version")
        line.version = true;
    else if (option == "--data")
        line.dataFile = arguments.value(option);
    else if (option == "--record")
        line.recordFile = arguments.value(option);
    else if (option == "--scenario")
        line.scenario = scenarioOf(arguments.value(option));
    else if (option == "--port")
        line.server.port = arguments.number(option, greatestPort);
    else if (option == "--pause-ms")
        line.server.pause = std::chrono::milliseconds(arguments.number(option, greatestPause));
    else if (option == "--tls") {
        const std::string certificate = arguments.value(option);
        line.server.certificate = {certificate, arguments.value(option)};
    } else
        throw BadUsage{"There is no option \"" + std::string(option) + "\"."};
}

}  // namespace

std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> texts) {
    CommandLine line;
    try {
        Arguments arguments(texts);
        while (!arguments.empty())
            readOption(arguments.next(), arguments, line);
        if (!line.help && !line.version && line.dataFile.empty()) throw BadUsage{"--data FILE is missing."};
    } catch (const BadUsage& usage) {
        return std::unexpected(usage.sentence);
    }
    return line;
}

std::string helpText() {
    std::string text =
        "Usage: quorvel-catalog --data FILE [OPTION...]\n"
        "A software catalog on this machine's loopback address, for demonstrations and tests.\n"
        "Its first line on standard output is its base URL. It ends on SIGTERM or SIGINT.\n\n"
        "  --data FILE        the applications that the catalog knows, as JSON\n"
        "  --port N           the port to listen on; 0, the default, takes a free one\n"
        "  --tls CERT KEY     serve HTTPS with this certificate and key, both PEM files\n"
        "  --record FILE      append each request to FILE, one JSON document a line\n"
        "  --scenario NAME    misbehave, in one of the ways below\n"
        "  --pause-ms N       how long the scenario \"slow\" waits; 2000 by default\n"
        "  --help, --version  print this text, or the version, and end\n\n"
        "Scenarios:\n";
    for (const auto& [name, option, sentence] : Scenario::all()) {
        constexpr std::size_t column = 19;
        text += "  " + std::string(option) + std::string(column - option.size(), ' ') +
                std::string(sentence) + "\n";
    }
    return text + "\nExit status: 0 ended by a signal, 1 cannot serve, 2 bad usage.\n";
}

}  // namespace quorvel
