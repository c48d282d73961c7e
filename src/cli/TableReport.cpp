#include <algorithm>
#include <cstddef>
#include <filesystem>

#include "cli/Report.h"
#include "cli/Table.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

using Kind = Table::Kind;
using Source = RunningSystem::Source;

/// A path below the folder that the user stands in is shown from there.
std::string displayPath(const std::string& path) {
    std::error_code ignored;
    const std::string here = std::filesystem::current_path(ignored).string() + "/";
    return path.starts_with(here) ? path.substr(here.size()) : path;
}

std::string updateSection(const std::string& title, const HostReport& report, bool areIgnored,
                          const Terminal& terminal) {
    Table table{{{"APPLICATION", Kind::name}, {"INSTALLED", Kind::version}, {"AVAILABLE", Kind::version}}};
    for (const auto& [app, latest, id, isIgnored, code, reason] : report.verdicts.updates) {
        if (isIgnored == areIgnored) table.add({app.name, app.version, latest});
    }
    return section(title, sortedByName(std::move(table)), terminal);
}

std::string otherSections(const HostReport& report, const Terminal& terminal) {
    Table skipped{{{"APPLICATION", Kind::name}, {"INSTALLED", Kind::version}, {"REASON", Kind::text}}};
    for (const auto& entry : report.verdicts.skipped)
        skipped.add({entry.app.name, entry.app.version, entry.reason});
    Table issues{{{"APPLICATION", Kind::name}, {"REASON", Kind::phrase}, {"PATH", Kind::text}}};
    for (const auto& list : {report.issues, report.folderIssues}) {
        for (const auto& issue : list)
            issues.add({issue.appName, issue.reason, displayPath(issue.path)});
    }
    return section("No newer version", sortedByName(std::move(skipped)), terminal) +
           section("Not listed", sortedByName(std::move(issues)), terminal);
}

std::string describe(const RunningSystem& system) {
    if (system.source == Source::unknown)
        return "a macOS whose version is not known (no minimum was applied; --os-version gives one)";
    return "macOS " + toText(system.version) +
           (system.source == Source::assumed ? " (assumed; --os-version says which it is)" : "");
}

std::string summary(const HostReport& report, bool all) {
    const auto& [updates, skipped] = report.verdicts;
    const std::size_t newer = report.newer(), ignored = updates.size() - newer;
    const std::size_t issues = report.issues.size();
    std::string text = newer == 0 ? "Nothing newer" : counted(newer, "newer version");
    if (ignored > 0) text += " (and " + std::to_string(ignored) + " ignored)";
    text += " for " + counted(report.apps, "application") + " on " + describe(report.system);
    if (report.apps == 0) text = "No applications found in " + onOneLine(report.source);
    return text +
           clause("", issues, "bundle",
                  " could not be listed" + std::string(all           ? ""
                                                       : issues == 1 ? " (--all names it)"
                                                                     : " (--all names them)")) +
           clause("", report.folderIssues.size(), "folder", " could not be read") +
           clause("the catalog gave no answer for ",
                  static_cast<std::size_t>(std::ranges::count(skipped, false, &Verdict::isAnswered)),
                  "application", "") +
           ".\n";
}

}  // namespace

std::string tableReport(const HostReport& report, bool all, const Terminal& terminal) {
    return updateSection("New versions available", report, false, terminal) +
           (all ? updateSection("Ignored versions", report, true, terminal) + otherSections(report, terminal)
                : "") +
           summary(report, all);
}

}  // namespace quorvel
