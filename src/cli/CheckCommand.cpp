#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "cli/CatalogFailure.h"
#include "cli/CatalogRun.h"
#include "cli/Commands.h"
#include "cli/Inventory.h"
#include "cli/Metrics.h"
#include "platform/text/Text.h"

namespace quorvel {

namespace {

/// What was not there to be read, so that nothing can be checked, or not all.
void noteFolders(const Inventory& inventory, ReportHead& head) {
    if (!inventory.hasFolder) {
        head.noteFailure(lackOfFolders(inventory), ExitStatus::nothingScanned);
    } else if (!inventory.folderIssues.empty()) {
        head.notePartial("Could not read the folder " + inventory.folderIssues.front().path + ".");
    }
}

Verdicts verdictsOf(const MatchEvaluation& evaluation, const std::unordered_set<std::string>& unanswered) {
    Verdicts verdicts;
    for (const auto& [app, version, id, isIgnored] : evaluation.updates)
        verdicts.updates.push_back({listed(app), version, id, isIgnored});
    const text::NameCollator collator("");
    std::ranges::stable_sort(verdicts.updates, {},
                             [&](const Verdict& update) { return collator.sortKey(update.app.name); });
    for (const auto& [name, identifier, version, code, reason, path] : evaluation.skipped)
        verdicts.skipped.push_back(
            skippedVerdict({name, identifier, version, path}, code, reason, !unanswered.contains(path)));
    return verdicts;
}

/// A Mac has its own name, a mounted volume that of its folder.
std::string nameOfMac(const CommandLine& line) {
    if (line.systemRoot) return std::filesystem::absolute(*line.systemRoot / "").parent_path().filename();
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

std::string render(const ReportHead& head, const HostReport& report, const CommandLine& line) {
    const Terminal terminal = describeTerminal(STDOUT_FILENO);
    if (line.json) return jsonReport(head, report, terminal);
    return head.hasFailed() ? "" : tableReport(report, line.all, terminal);
}

}  // namespace

ExitStatus checkApplications(const CommandLine& line) {
    const Inventory inventory = scanInventory(line);
    ReportHead head(line.catalog);
    noteFolders(inventory, head);
    CatalogRun run(line, head);
    MatchEvaluation evaluation;
    if (!inventory.apps.empty()) {
        evaluation = run.check(inventory.apps, inventory.issues);
    } else if (inventory.hasFolder) {
        ErrorLogger(storageOf(line)).log("Scanner found 0 apps — skipping API call");
    }
    const HostReport report{
        .name = nameOfMac(line),
        .source = enumeration(inventory.folders),
        .system = line.system,
        .apps = inventory.apps.size(),
        .verdicts = verdictsOf(evaluation, run.unanswered(inventory.apps, &InstalledApp::path)),
        .issues = inventory.issues,
        .folderIssues = inventory.folderIssues};
    if (report.newer() > 0) head.noteNewer();
    if (head.error) sayFailure({*head.error, head.status}, line.catalog);
    const auto printed = console::print(render(head, report, line));
    Metrics metrics;
    if (inventory.hasFolder) metrics.add(report);
    const auto written = metrics.write(line, head, inventory.hasFolder ? 0 : 1);
    run.waitForLastRequests();
    return head.exitStatus({printed, written}, line);
}

}  // namespace quorvel
