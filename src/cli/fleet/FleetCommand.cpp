#include <algorithm>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CatalogRun.h"
#include "cli/CheckSetup.h"
#include "cli/Commands.h"
#include "cli/Metrics.h"
#include "cli/RequestPreview.h"
#include "cli/Table.h"
#include "cli/fleet/FleetReport.h"
#include "cli/fleet/InputFile.h"
#include "cli/fleet/InventoryReader.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// Of a host that its inventory does not name: the file's name without its ending.
std::string hostNameOf(const InputFile& file) {
    return file.path == "-" ? "stdin" : text::repairedUtf8(file.path.stem().string());
}

void readFile(Fleet& fleet, const InputFile& file) {
    auto reader = openInput(file);
    if (reader) return readInventory(fleet, file.name, hostNameOf(file), *std::move(reader));
    fleet.failures.push_back(
        {file.name, std::nullopt, FleetFailure::Code::unreadable, std::move(reader.error())});
}

void readFleet(Fleet& fleet, const CommandLine& line) {
    for (const auto& file : listInputFiles(line.inventories, fleet.failures))
        readFile(fleet, file);
    fleet.settle();
}

std::string sentence(const FleetFailure& failure) {
    return failure.source + (failure.host ? ", host " + *failure.host : "") + ": " + failure.reason;
}

/// What could not be read, as far as one sentence can tell.
void noteFailures(const Fleet& fleet, ReportHead& head) {
    const auto& failures = fleet.failures;
    std::string text = failures.empty() ? "" : sentence(failures.front());
    if (failures.size() > 1)
        text += " There are " + counted(failures.size() - 1, "more problem") + " with inventories.";
    if (fleet.hosts.empty()) {
        head.noteFailure("No inventory could be read. " + text, ExitStatus::nothingScanned);
    } else if (!failures.empty()) {
        head.notePartial(text);
    }
}

/// Leaves the hosts that are asked for; a sentence when one of them is not there.
std::optional<std::string> selectHosts(Fleet& fleet, const std::vector<std::string>& names) {
    if (names.empty() || fleet.hosts.empty()) return std::nullopt;
    const std::set<std::string, std::less<>> wanted(names.begin(), names.end());
    std::erase_if(fleet.hosts, [&](const FleetHost& host) { return !wanted.contains(host.name); });
    for (const auto& name : wanted) {
        if (std::ranges::find(fleet.hosts, name, &FleetHost::name) != fleet.hosts.end()) continue;
        return "There is no host " + name + " in the inventories" +
               (fleet.failures.empty() ? "."
                                       : "; of them, " + std::to_string(fleet.failures.size()) +
                                             " could not be read whole: " + sentence(fleet.failures.front()));
    }
    return std::nullopt;
}

std::optional<RunningSystem> systemOf(const FleetHost& host, const CommandLine& line) {
    if (host.system) return RunningSystem{*host.system, RunningSystem::Source::system};
    if (line.system.source == RunningSystem::Source::given) return line.system;
    return std::nullopt;
}

std::unique_ptr<FleetPrinter> makePrinter(const CommandLine& line, const Fleet& fleet,
                                          const ReportHead& head) {
    if (line.json) return makeJsonPrinter(fleet, head);
    if (line.jsonLines) return makeJsonLinesPrinter(fleet, head);
    return makeTablePrinter(line, fleet, head);
}

/// One check of a fleet.
class FleetCheck {
public:
    FleetCheck(const CommandLine& line, const Fleet& fleet)
        : line(line),
          fleet(fleet),
          head(line.catalog),
          asked(distinctApplications(fleet)),
          ignored(IgnoredVersionsStore(storageOf(line)).load()),
          run(line, head) {}

    ExitStatus perform() {
        noteFailures(fleet, head);
        askCatalog();
        if (head.error) {
            sayFailure({*head.error,
                        head.outcome == ReportHead::Outcome::failed ? head.status : ExitStatus::partial},
                       line.catalog);
        }
        const auto printed = report();
        head.conclude(hasNewer);
        const auto written =
            line.prometheus ? metrics.write(*line.prometheus, head, unreadHosts()) : ExitStatus::nothingNewer;
        if (isAsked && evaluation) {
            ErrorLogger(storageOf(line))
                .log("Checked " + counted(fleet.hosts.size(), "host") + ": newer versions of " +
                     std::to_string(newer.size()) + " of " + counted(asked.size(), "application"));
            run.reportFinished(asked.size(), newer.size());
        }
        run.waitForLastRequests();
        return head.exitStatus({printed, written}, line);
    }

private:
    void askCatalog() {
        if (head.outcome == ReportHead::Outcome::failed) return;
        std::optional<UpdateCheckService::Matches> matches;
        isAsked = !asked.empty();
        if (isAsked) {
            sayWhereNothingIsKept(line);
            matches = run.match(asked);
            if (!matches) return;
        } else {
            ErrorLogger(storageOf(line)).log("The inventories have no application — skipping API call");
        }
        std::unordered_set<std::string> unanswered;
        for (std::size_t index = 0; index < asked.size(); ++index) {
            if (!run.isAnswered(index)) unanswered.insert(asked[index].bundleID);
        }
        evaluation.emplace(fleet, std::move(matches).value_or(UpdateCheckService::Matches{}),
                           std::move(unanswered), ignored);
    }

    ExitStatus report() {
        const auto printer = makePrinter(line, fleet, head);
        printer->begin();
        for (const auto& host : fleet.hosts) {
            const auto system = systemOf(host, line);
            const HostReport report{
                host, fleet.sources[host.source], system,
                evaluation
                    ? evaluation->evaluate(host, system ? std::optional(system->version) : std::nullopt)
                    : FleetEvaluation::HostResult{}};
            printer->add(report);
            count(report);
        }
        printer->end();
        return printer->status;
    }

    void count(const HostReport& report) {
        std::size_t updates = 0;
        for (const auto& update : report.result.updates) {
            newer.insert(update.app->identifier);
            if (!update.isIgnored) ++updates;
        }
        hasNewer = hasNewer || updates > 0;
        if (line.prometheus)
            metrics.add({report.host.name, report.host.apps.size(), updates, report.host.collectedAt});
    }

    std::size_t unreadHosts() const {
        return static_cast<std::size_t>(std::ranges::count_if(
            fleet.failures,
            [](const FleetFailure& failure) { return failure.code != FleetFailure::Code::clippedReport; }));
    }

    const CommandLine& line;
    const Fleet& fleet;
    ReportHead head;
    const std::vector<InstalledApp> asked;
    const IgnoredVersions ignored;
    CatalogRun run;
    bool isAsked = false;
    std::optional<FleetEvaluation> evaluation;
    Metrics metrics;
    /// Identifiers of applications with newer versions, ignored ones included.
    std::unordered_set<std::string_view> newer;
    bool hasNewer = false;
};

}  // namespace

ExitStatus checkFleet(const CommandLine& line) {
    Fleet fleet;
    readFleet(fleet, line);
    if (const auto missing = selectHosts(fleet, line.hosts))
        return console::fail(ExitStatus::unexpected, *missing);
    return FleetCheck(line, fleet).perform();
}

ExitStatus showFleetRequests(const CommandLine& line) {
    Fleet fleet;
    readFleet(fleet, line);
    if (const auto missing = selectHosts(fleet, line.hosts))
        return console::fail(ExitStatus::unexpected, *missing);
    ReportHead head(line.catalog);
    noteFailures(fleet, head);
    if (head.error) console::say(*head.error);
    if (fleet.hosts.empty()) return head.status;
    const auto asked = distinctApplications(fleet);
    if (asked.empty()) {
        return console::print(
            "Nothing would be sent: the inventories have no application with a bundle identifier.\n");
    }
    const auto printed = previewRequests(line, [&](UpdateCheckService& service, Task done) {
        service.match(asked, [&service, &asked, done = std::move(done)](const auto&) mutable {
            service.reportFinished("manual", asked.size(), 0);
            done();
        });
    });
    head.conclude(false);
    return head.exitStatus({printed}, line);
}

}  // namespace quorvel
