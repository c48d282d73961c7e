#include "cli/JsonReport.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>
#include <vector>

#include "cli/Inventory.h"
#include "platform/ProgramInfo.h"

namespace quorvel {

namespace {

using Source = RunningSystem::Source;

/// An object for each.
template <typename List, typename Write>
void writeList(JsonWriter& json, std::string_view name, const List& list, Write writeMembers) {
    json.beginArray(name);
    for (const auto& entry : list) {
        json.beginObject();
        writeMembers(entry);
        json.endObject();
    }
    json.endArray();
}

void writeApplication(JsonWriter& json, const ListedApp& app) {
    json.member("name", app.name);
    json.member("bundle_identifier", app.identifier);
    json.member("path", app.path);
    json.member("installed_version", app.version);
}

std::string_view codeOf(const ScanIssue& issue) {
    if (issue.reason == "no version") return "no_version";
    return issue.reason == unreadableFolder ? "unreadable_folder" : "unreadable";
}

}  // namespace

void writeHead(JsonWriter& json, std::string_view schema, const ReportHead& head) {
    json.member("schema", schema);
    json.member("outcome", name(head.outcome));
    json.member("error", head.error);
    json.member("checked_at", timestamp(head.checkedAt));
    json.member("version", *thisProgram().shortVersion);
    json.member("catalog", head.catalog);
}

void writeSystem(JsonWriter& json, const RunningSystem& system) {
    constexpr std::array<std::string_view, 5> sources{"given", "system", "inventory", "assumed", "unknown"};
    json.member("os_version",
                system.source == Source::unknown ? std::optional<std::string>() : toText(system.version));
    json.member("os_version_source", sources[static_cast<std::size_t>(system.source)]);
}

void writeVerdicts(JsonWriter& json, const HostReport& report) {
    writeList(json, "updates", report.verdicts.updates, [&](const Verdict& update) {
        writeApplication(json, update.app);
        json.member("available_version", update.latestVersion);
        json.member("catalog_id", update.catalogId);
        json.member("catalog_url", appPageURL(update.catalogId));
        json.member("ignored", update.isIgnored);
    });
    writeList(json, "skipped", report.verdicts.skipped, [&](const Verdict& skipped) {
        writeApplication(json, skipped.app);
        json.member("code", skipped.code);
        json.member("reason", skipped.reason);
    });
    std::vector<ScanIssue> issues(report.issues.begin(), report.issues.end());
    issues.insert(issues.end(), report.folderIssues.begin(), report.folderIssues.end());
    std::ranges::stable_sort(issues, {}, &ScanIssue::path);
    writeList(json, "issues", issues, [&](const ScanIssue& issue) {
        json.member("name", issue.appName);
        json.member("path", issue.path);
        json.member("code", codeOf(issue));
        json.member("reason", issue.reason);
    });
}

std::string jsonReport(const ReportHead& head, const HostReport& report, const Terminal& terminal) {
    JsonWriter json(JsonWriter::Layout::indented, terminal.isTerminal);
    json.beginObject();
    writeHead(json, "quorvel-check/1", head);
    writeSystem(json, report.system);
    json.member("apps", report.apps);
    writeVerdicts(json, report);
    json.endObject();
    json.endText();
    return std::move(json.text);
}

std::string timestamp(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace quorvel
