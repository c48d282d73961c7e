#include <csignal>
#include <iostream>
#include <memory>
#include <pthread.h>

#include "Catalog.h"
#include "CommandLine.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

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
    std::unique_ptr<RequestRecord> record;
    if (line.recordFile) {
        record = std::make_unique<RequestRecord>(*line.recordFile);
        if (!record->isOpen()) return fail(1, "Could not open " + *line.recordFile + " for writing.");
    }

    CatalogEndpoints endpoints(*catalog);
    Scenario scenario(line.scenario);
    const sigset_t endSignals = blockedEndSignals();
    CatalogServer server(endpoints, scenario, record.get(), line.server);
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
