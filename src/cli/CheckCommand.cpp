#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <unistd.h>

#include "cli/CatalogFailure.h"
#include "cli/CatalogRun.h"
#include "cli/CheckSetup.h"
#include "cli/Commands.h"
#include "cli/Metrics.h"
#include "cli/Report.h"

namespace quorvel {

namespace {

/// What a check begins with, and all that there is to say when nothing can be checked.
CheckReport beginReport(const CommandLine& line) {
    CheckReport report(line.catalog);
    report.system = line.system;
    report.inventory = scanInventory(line);
    if (!report.inventory.hasFolder) {
        report.noteFailure(lackOfFolders(report.inventory), ExitStatus::nothingScanned);
    } else if (!report.inventory.folderIssues.empty()) {
        report.notePartial("Could not read the folder " + report.inventory.folderIssues.front().path + ".");
    }
    return report;
}

/// The catalog's not knowing an application is its answer; where an answer is missing, that is not known.
std::vector<SkippedEntry> skippedEntries(const MatchEvaluation& evaluation,
                                         const std::vector<InstalledApp>& apps, const CatalogRun& run) {
    std::set<std::string_view> unanswered;
    for (std::size_t index = 0; index < apps.size(); ++index) {
        if (!run.isAnswered(index)) unanswered.insert(apps[index].path);
    }
    std::vector<SkippedEntry> entries;
    for (const auto& app : evaluation.skipped)
        entries.push_back({app, app.code != SkipCode::notRecognised || !unanswered.contains(app.path)});
    return entries;
}

void checkAgainst(CatalogRun& run, CheckReport& report) {
    const auto& apps = report.inventory.apps;
    auto updates = run.check(apps, report.inventory.issues, [&](const MatchEvaluation& evaluation) {
        report.skipped = skippedEntries(evaluation, apps, run);
    });
    if (updates) report.updates = *std::move(updates);
}

ExitStatus printReport(const CheckReport& report, const CommandLine& line) {
    if (report.error) sayFailure({*report.error, report.status}, line.catalog);
    const Terminal terminal = describeTerminal(STDOUT_FILENO);
    return console::print(line.json ? jsonReport(report, terminal) : tableReport(report, line.all, terminal));
}

/// A Mac has its own name, a mounted volume that of its folder.
std::string nameOfMac(const CommandLine& line) {
    if (line.systemRoot) return std::filesystem::absolute(*line.systemRoot / "").parent_path().filename();
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

ExitStatus writeMetrics(const CheckReport& report, std::size_t newer, const CommandLine& line) {
    if (!line.prometheus) return ExitStatus::nothingNewer;
    Metrics metrics;
    if (report.inventory.hasFolder)
        metrics.add({nameOfMac(line), report.inventory.apps.size(), newer, std::nullopt});
    return metrics.write(*line.prometheus, report, report.inventory.hasFolder ? 0 : 1);
}

}  // namespace

ExitStatus checkApplications(const CommandLine& line) {
    CheckReport report = beginReport(line);
    CatalogRun run(line, report);
    if (!report.inventory.apps.empty()) {
        sayWhereNothingIsKept(line);
        checkAgainst(run, report);
    } else if (report.inventory.hasFolder) {
        ErrorLogger(storageOf(line)).log("Scanner found 0 apps — skipping API call");
    }
    const auto newer =
        static_cast<std::size_t>(std::ranges::count(report.updates, false, &AppUpdate::isIgnored));
    report.conclude(newer > 0);
    const auto printed = printReport(report, line);
    const auto written = writeMetrics(report, newer, line);
    run.waitForLastRequests();
    return report.exitStatus({printed, written}, line);
}

}  // namespace quorvel
