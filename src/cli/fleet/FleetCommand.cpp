#include <algorithm>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CatalogRun.h"
#include "cli/Commands.h"
#include "cli/Metrics.h"
#include "cli/RequestPreview.h"
#include "cli/Table.h"
#include "cli/fleet/FleetEvaluation.h"
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

std::string sentence(const FleetFailure& failure) {
    return failure.source + (failure.host ? ", host " + *failure.host : "") + ": " + failure.reason;
}

/// What could not be read, as far as one sentence can tell.
void noteFailures(const Fleet& fleet, ReportHead& head) {
    const auto& failures = fleet.failures;
    std::string text = failures.empty() ? "" : sentence(failures.front());
    if (failures.size() > 1)
        text += (failures.size() == 2 ? " There is " : " There are ") +
                counted(failures.size() - 1, "more problem") + " with inventories.";
    if (fleet.hosts.empty()) {
        head.noteFailure("No inventory could be read. " + text, ExitStatus::nothingScanned);
    } else if (!failures.empty()) {
        head.notePartial(text);
    }
}

/// Leaves the hosts that are asked for. False, and said, when one of them is not there.
bool selectHosts(Fleet& fleet, const std::vector<std::string>& names) {
    if (names.empty() || fleet.hosts.empty()) return true;
    const std::set<std::string, std::less<>> wanted(names.begin(), names.end());
    std::erase_if(fleet.hosts, [&](const FleetHost& host) { return !wanted.contains(host.name); });
    for (const auto& name : wanted) {
        if (std::ranges::find(fleet.hosts, name, &FleetHost::name) != fleet.hosts.end()) continue;
        console::say("There is no host " + name + " in the inventories" +
                     (fleet.failures.empty()
                          ? "."
                          : "; of them, " + std::to_string(fleet.failures.size()) +
                                " could not be read whole: " + sentence(fleet.failures.front())));
        return false;
    }
    return true;
}

/// The hosts that the command line is about; false, and said, when one of them is not there.
bool readFleet(Fleet& fleet, const CommandLine& line, ReportHead& head) {
    for (const auto& file : listInputFiles(line.inventories, fleet.failures))
        readFile(fleet, file);
    fleet.settle();
    if (!selectHosts(fleet, line.hosts)) return false;
    noteFailures(fleet, head);
    return true;
}

RunningSystem systemOf(const FleetHost& host, const CommandLine& line) {
    using Source = RunningSystem::Source;
    if (host.system) return {*host.system, Source::inventory};
    return line.system.source == Source::given ? line.system : RunningSystem{.source = Source::unknown};
}

/// One check of a fleet.
class FleetCheck {
public:
    FleetCheck(const CommandLine& line, const Fleet& fleet, ReportHead& head)
        : line(line), fleet(fleet), head(head), asked(distinctApplications(fleet)), run(line, head) {}

    ExitStatus perform() {
        if (!head.hasFailed()) askCatalog();
        if (head.error) sayFailure({*head.error, head.status}, line.catalog);
        const auto printed = report();
        const auto written = metrics.write(line, head, fleet.unreadHosts());
        if (evaluation && !asked.empty()) {
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
        auto matches = asked.empty() ? UpdateCheckService::Matches() : run.match(asked);
        if (asked.empty())
            ErrorLogger(storageOf(line)).log("The inventories have no application — skipping API call");
        if (!matches) return;
        evaluation.emplace(fleet, *std::move(matches), run.unanswered(asked, &InstalledApp::bundleID),
                           IgnoredVersionsStore(storageOf(line)).load());
    }

    ExitStatus report() {
        const auto printer = line.json || line.jsonLines ? makeJsonPrinter(line.jsonLines, fleet, head)
                                                         : makeTablePrinter(line, fleet, head);
        printer->begin();
        for (const auto& host : fleet.hosts) {
            const HostReport report = reportOf(host);
            printer->add(report);
            for (const auto& update : report.verdicts.updates)
                newer.insert(update.app.identifier);
            if (report.newer() > 0) head.noteNewer();
            if (line.prometheus) metrics.add(report);
        }
        printer->end();
        return printer->status;
    }

    HostReport reportOf(const FleetHost& host) {
        const auto system = systemOf(host, line);
        const bool isKnown = system.source != RunningSystem::Source::unknown;
        return {.name = host.name,
                .source = fleet.sources[host.source],
                .collectedAt = host.collectedAt,
                .system = system,
                .apps = host.apps.size(),
                .outside = host.outside,
                .verdicts = evaluation ? evaluation->evaluate(
                                             host, isKnown ? std::optional(system.version) : std::nullopt)
                                       : Verdicts(),
                .issues = host.issues};
    }

    const CommandLine& line;
    const Fleet& fleet;
    ReportHead& head;
    const std::vector<InstalledApp> asked;
    CatalogRun run;
    std::optional<FleetEvaluation> evaluation;
    Metrics metrics;
    /// Identifiers of applications with newer versions, ignored ones included.
    std::unordered_set<std::string_view> newer;
};

}  // namespace

ExitStatus checkFleet(const CommandLine& line) {
    Fleet fleet;
    ReportHead head(line.catalog);
    if (!readFleet(fleet, line, head)) return ExitStatus::unexpected;
    return FleetCheck(line, fleet, head).perform();
}

ExitStatus showFleetRequests(const CommandLine& line) {
    Fleet fleet;
    ReportHead head(line.catalog);
    if (!readFleet(fleet, line, head)) return ExitStatus::unexpected;
    if (head.error) console::say(*head.error);
    if (fleet.hosts.empty()) return head.status;
    const auto asked = distinctApplications(fleet);
    if (asked.empty()) {
        return console::print(
            "Nothing would be sent: the inventories have no application with a bundle identifier.\n");
    }
    const auto printed = previewRequests(line, [&](UpdateCheckService& service, Task done) {
        service.match(asked, [&service, &asked, done = std::move(done)](const auto&) mutable {
            service.reportFinished(checkTrigger, asked.size(), 0);
            done();
        });
    });
    return head.exitStatus({printed}, line);
}

}  // namespace quorvel
