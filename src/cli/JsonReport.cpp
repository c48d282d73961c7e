#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "cli/JsonEntries.h"

namespace quorvel {

namespace {

std::string_view name(RunningSystem::Source source) {
    constexpr std::array<std::string_view, 3> names{"given", "system", "assumed"};
    return names[static_cast<std::size_t>(source)];
}

/// In an order that no locale decides.
void writeUpdates(JsonWriter& json, std::vector<AppUpdate> updates) {
    std::ranges::sort(updates, {}, [](const AppUpdate& update) -> const auto& { return update.app.path; });
    sortByName(updates, "");
    json.beginArray("updates");
    for (const auto& [app, version, id, isIgnored] : updates)
        writeUpdate(json, {app.name, app.bundleID, app.path, app.version}, version, id, isIgnored);
    json.endArray();
}

void writeSkippedApps(JsonWriter& json, const std::vector<SkippedEntry>& skipped) {
    json.beginArray("skipped");
    for (const auto& [app, isAnswered] : skipped) {
        writeSkipped(json, {app.name, app.bundleID, app.path, app.version}, app.code, app.reason, isAnswered);
    }
    json.endArray();
}

void writeIssues(JsonWriter& json, const Inventory& inventory) {
    std::vector<std::pair<const ScanIssue*, std::string_view>> issues;
    for (const auto& issue : inventory.issues)
        issues.emplace_back(&issue, codeOf(issue));
    for (const auto& issue : inventory.folderIssues)
        issues.emplace_back(&issue, "unreadable_folder");
    std::ranges::stable_sort(issues, {}, [](const auto& issue) { return issue.first->path; });
    json.beginArray("issues");
    for (const auto& [issue, code] : issues)
        writeIssue(json, *issue, code);
    json.endArray();
}

}  // namespace

std::string jsonReport(const CheckReport& report, const Terminal& terminal) {
    JsonWriter json(JsonWriter::Layout::indented, terminal.isTerminal);
    json.beginObject();
    writeHead(json, "quorvel-check/1", report);
    json.member("os_version", toText(report.system.version));
    json.member("os_version_source", name(report.system.source));
    json.member("apps", report.inventory.apps.size());
    writeUpdates(json, report.updates);
    writeSkippedApps(json, report.skipped);
    writeIssues(json, report.inventory);
    json.endObject();
    return std::move(json.text) + "\n";
}

}  // namespace quorvel
