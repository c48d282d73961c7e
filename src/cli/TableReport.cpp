#include "cli/TableReport.h"

#include <algorithm>
#include <cstddef>

#include "cli/Table.h"
#include "platform/DisplayText.h"

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

std::string updateSection(const CheckReport& report, bool all, const Terminal& terminal) {
    Table shown{{"APPLICATION", "INSTALLED", "AVAILABLE"}, {}}, ignored = shown;
    for (const auto& update : report.updates) {
        Table& table = update.isIgnored ? ignored : shown;
        table.rows.push_back(
            {onOneLine(update.app.name), onOneLine(update.app.version), onOneLine(update.latestVersion)});
    }
    return section("New versions available", shown, terminal) +
           (all ? section("Ignored versions", ignored, terminal) : "");
}

std::string otherSections(const CheckReport& report, const Terminal& terminal) {
    Table skipped{{"APPLICATION", "INSTALLED", "REASON"}, {}};
    for (const auto& app : report.skipped) {
        skipped.rows.push_back({onOneLine(app.name), onOneLine(app.version), onOneLine(app.reason)});
    }
    Table issues{{"APPLICATION", "REASON", "PATH"}, {}};
    for (const auto& issue : report.issues) {
        issues.rows.push_back({onOneLine(issue.appName), issue.reason, onOneLine(issue.path)});
    }
    return section("No newer version", skipped, terminal) + section("Not listed", issues, terminal);
}

std::string summary(const CheckReport& report) {
    const auto ignored =
        static_cast<std::size_t>(std::ranges::count(report.updates, true, &AppUpdate::isIgnored));
    const std::size_t shown = report.updates.size() - ignored;
    std::string text = shown == 0 ? "Nothing newer" : counted(shown, "newer version", "newer versions");
    if (ignored > 0) text += ", " + counted(ignored, "ignored version", "ignored versions");
    text += "; " + counted(report.apps, "application", "applications") + " checked";
    if (!report.issues.empty()) text += ", " + std::to_string(report.issues.size()) + " not listed";
    return text + " on macOS " + toText(report.os) + ".\n";
}

}  // namespace

std::string tableReport(const CheckReport& report, bool all, const Terminal& terminal) {
    if (report.outcome == CheckReport::Outcome::failed) return "";
    return updateSection(report, all, terminal) + (all ? otherSections(report, terminal) : "") +
           summary(report);
}

}  // namespace quorvel
