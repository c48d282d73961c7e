#include "cli/TableReport.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>

#include "cli/Table.h"
#include "platform/DisplayText.h"
#include "platform/Text.h"

namespace quorvel {

namespace {

std::string counted(std::size_t number, const char* one, const char* many) {
    return std::to_string(number) + " " + (number == 1 ? one : many);
}

std::string section(const std::string& title, const Table& table, const Terminal& terminal) {
    if (table.rows.empty()) return "";
    const std::string heading = title + " (" + std::to_string(table.rows.size()) + ")";
    return (terminal.colour ? "\x1b[1;32m" + heading + "\x1b[0m" : heading) + "\n" + render(table, terminal) +
           "\n";
}

std::string cell(const std::string& text) {
    return isolated(onOneLine(text));
}

/// A path below the folder that the user stands in is shown from there.
std::string displayPath(const std::string& path) {
    std::error_code ignored;
    const std::string here = std::filesystem::current_path(ignored).string() + "/";
    return cell(path.starts_with(here) ? path.substr(here.size()) : path);
}

std::string updateSection(const CheckReport& report, bool all, const Terminal& terminal) {
    Table shown{{"APPLICATION", "INSTALLED", "AVAILABLE"}, {}}, ignored = shown;
    for (const auto& update : report.updates) {
        Table& table = update.isIgnored ? ignored : shown;
        table.rows.push_back({cell(update.app.name), cell(update.app.version), cell(update.latestVersion)});
    }
    return section("New versions available", shown, terminal) +
           (all ? section("Ignored versions", ignored, terminal) : "");
}

/// People look for a name; the order of the folders on the disk tells them nothing. The name is a row's first
/// cell.
void sortRowsByName(Table& table) {
    const text::NameCollator collator;
    std::ranges::stable_sort(table.rows, {}, [&](const auto& row) { return collator.sortKey(row.front()); });
}

std::string otherSections(const CheckReport& report, const Terminal& terminal) {
    Table skipped{{"APPLICATION", "INSTALLED", "REASON"}, {}};
    for (const auto& app : report.skipped) {
        skipped.rows.push_back({cell(app.name), cell(app.version), cell(app.reason)});
    }
    Table issues{{"APPLICATION", "REASON", "PATH"}, {}};
    for (const auto& issue : report.issues) {
        issues.rows.push_back({cell(issue.appName), issue.reason, displayPath(issue.path)});
    }
    sortRowsByName(skipped);
    sortRowsByName(issues);
    return section("No newer version", skipped, terminal) + section("Not listed", issues, terminal);
}

std::string summary(const CheckReport& report) {
    const auto ignored =
        static_cast<std::size_t>(std::ranges::count(report.updates, true, &AppUpdate::isIgnored));
    const std::size_t shown = report.updates.size() - ignored;
    std::string text = shown == 0 ? "Nothing newer" : counted(shown, "newer version", "newer versions");
    if (ignored > 0) text += " (and " + std::to_string(ignored) + " ignored)";
    text += " for " + counted(report.apps, "application", "applications") + " on macOS " + toText(report.os);
    if (!report.issues.empty()) {
        text += "; " + counted(report.issues.size(), "bundle", "bundles") + " could not be listed";
    }
    return text + ".\n";
}

}  // namespace

std::string tableReport(const CheckReport& report, bool all, const Terminal& terminal) {
    if (report.outcome == CheckReport::Outcome::failed) return "";
    return updateSection(report, all, terminal) + (all ? otherSections(report, terminal) : "") +
           summary(report);
}

}  // namespace quorvel
