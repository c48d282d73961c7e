#include <algorithm>
#include <cstddef>
#include <filesystem>

#include "cli/Report.h"
#include "cli/Table.h"
#include "platform/text/DisplayText.h"

namespace quorvel {

namespace {

using Kind = Table::Kind;

/// A path below the folder that the user stands in is shown from there.
std::string displayPath(const std::string& path) {
    std::error_code ignored;
    const std::string here = std::filesystem::current_path(ignored).string() + "/";
    return path.starts_with(here) ? path.substr(here.size()) : path;
}

std::string updateSection(const CheckReport& report, bool all, const Terminal& terminal) {
    Table shown{{{"APPLICATION", Kind::name}, {"INSTALLED", Kind::version}, {"AVAILABLE", Kind::version}},
                {}};
    Table ignored = shown;
    for (const auto& update : report.updates) {
        Table& table = update.isIgnored ? ignored : shown;
        table.rows.push_back({update.app.name, update.app.version, update.latestVersion});
    }
    return section("New versions available", shown, terminal) +
           (all ? section("Ignored versions", ignored, terminal) : "");
}

std::string otherSections(const CheckReport& report, const Terminal& terminal) {
    Table skipped{{{"APPLICATION", Kind::name}, {"INSTALLED", Kind::version}, {"REASON", Kind::text}}, {}};
    for (const auto& entry : report.skipped)
        skipped.rows.push_back({entry.app.name, entry.app.version, reason(entry)});
    Table issues{{{"APPLICATION", Kind::name}, {"REASON", Kind::phrase}, {"PATH", Kind::text}}, {}};
    for (const auto* list : {&report.inventory.issues, &report.inventory.folderIssues}) {
        for (const auto& issue : *list)
            issues.rows.push_back({issue.appName, issue.reason, displayPath(issue.path)});
    }
    sortByName(skipped);
    sortByName(issues);
    return section("No newer version", skipped, terminal) + section("Not listed", issues, terminal);
}

std::string system(const RunningSystem& system) {
    if (system.source == RunningSystem::Source::unknown)
        return "a macOS whose version is not known (no minimum was applied; --os-version gives one)";
    const std::string version = "macOS " + toText(system.version);
    return system.source == RunningSystem::Source::assumed
               ? version + " (assumed; --os-version says which it is)"
               : version;
}

/// What the numbers before it leave out.
std::string omissions(const CheckReport& report, bool all) {
    const auto& issues = report.inventory.issues;
    const auto& folderIssues = report.inventory.folderIssues;
    std::string text;
    if (!issues.empty()) {
        text += "; " + counted(issues.size(), "bundle") + " could not be listed";
        if (!all) text += " (--all names " + std::string(issues.size() == 1 ? "it)" : "them)");
    }
    if (!folderIssues.empty()) {
        text += "; " + counted(folderIssues.size(), "folder") + " could not be read";
    }
    const auto unanswered =
        static_cast<std::size_t>(std::ranges::count(report.skipped, false, &SkippedEntry::isAnswered));
    if (unanswered > 0) text += "; the catalog gave no answer for " + counted(unanswered, "application");
    return text;
}

std::string summary(const CheckReport& report, bool all) {
    const auto ignored =
        static_cast<std::size_t>(std::ranges::count(report.updates, true, &AppUpdate::isIgnored));
    const std::size_t shown = report.updates.size() - ignored;
    std::string text = shown == 0 ? "Nothing newer" : counted(shown, "newer version");
    if (ignored > 0) text += " (and " + std::to_string(ignored) + " ignored)";
    text += " for " + counted(report.inventory.apps.size(), "application") + " on " + system(report.system);
    if (report.inventory.apps.empty())
        text = "No applications found in " + onOneLine(enumeration(report.inventory.folders));
    return text + omissions(report, all) + ".\n";
}

}  // namespace

std::string tableReport(const CheckReport& report, bool all, const Terminal& terminal) {
    if (report.outcome == CheckReport::Outcome::failed) return "";
    return updateSection(report, all, terminal) + (all ? otherSections(report, terminal) : "") +
           summary(report, all);
}

}  // namespace quorvel
