#include <algorithm>
#include <array>
#include <ctime>
#include <nlohmann/json.hpp>

#include "cli/Report.h"
#include "platform/ProgramInfo.h"

namespace quorvel {

namespace {

using Json = nlohmann::ordered_json;

const char* name(CheckReport::Outcome outcome) {
    constexpr std::array names{"complete", "partial", "failed"};
    return names[static_cast<std::size_t>(outcome)];
}

const char* name(RunningSystem::Source source) {
    constexpr std::array names{"given", "system", "assumed"};
    return names[static_cast<std::size_t>(source)];
}

const char* code(const SkippedEntry& entry) {
    constexpr std::array codes{"not_recognised", "installed_version_invalid", "catalog_version_invalid",
                               "up_to_date", "requires_newer_os"};
    return entry.isAnswered ? codes[static_cast<std::size_t>(entry.app.code)] : "not_answered";
}

/// ISO 8601, UTC, to the second.
std::string timestamp(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

/// In an order that no locale decides.
Json updateList(std::vector<AppUpdate> updates) {
    std::ranges::sort(updates, {}, [](const AppUpdate& update) -> const auto& { return update.app.path; });
    sortByName(updates, "");
    Json list = Json::array();
    for (const auto& update : updates) {
        list.push_back({{"name", update.app.name},
                        {"bundle_identifier", update.app.bundleID},
                        {"path", update.app.path},
                        {"installed_version", update.app.version},
                        {"available_version", update.latestVersion},
                        {"catalog_id", update.obAppId},
                        {"catalog_url", appPageURL(update.obAppId)},
                        {"ignored", update.isIgnored}});
    }
    return list;
}

Json skippedList(const std::vector<SkippedEntry>& skipped) {
    Json list = Json::array();
    for (const auto& entry : skipped) {
        list.push_back({{"name", entry.app.name},
                        {"bundle_identifier", entry.app.bundleID},
                        {"path", entry.app.path},
                        {"installed_version", entry.app.version},
                        {"code", code(entry)},
                        {"reason", reason(entry)}});
    }
    return list;
}

Json issueList(const CheckReport& report) {
    std::vector<std::pair<const ScanIssue*, const char*>> issues;
    for (const auto& issue : report.inventory.issues)
        issues.emplace_back(&issue, issue.reason == "no version" ? "no_version" : "unreadable");
    for (const auto& issue : report.inventory.folderIssues)
        issues.emplace_back(&issue, "unreadable_folder");
    std::ranges::stable_sort(issues, {}, [](const auto& issue) { return issue.first->path; });
    Json list = Json::array();
    for (const auto& [issue, code] : issues) {
        list.push_back(
            {{"name", issue->appName}, {"path", issue->path}, {"code", code}, {"reason", issue->reason}});
    }
    return list;
}

}  // namespace

std::string jsonReport(const CheckReport& report, const Terminal& terminal) {
    const Json document{{"schema", "quorvel-check/1"},
                        {"outcome", name(report.outcome)},
                        {"error", report.error ? Json(*report.error) : Json(nullptr)},
                        {"checked_at", timestamp(report.checkedAt)},
                        {"version", *thisProgram().shortVersion},
                        {"catalog", report.catalog},
                        {"os_version", toText(report.system.version)},
                        {"os_version_source", name(report.system.source)},
                        {"apps", report.inventory.apps.size()},
                        {"updates", updateList(report.updates)},
                        {"skipped", skippedList(report.skipped)},
                        {"issues", issueList(report)}};
    // File names need not be valid UTF-8; a document that cannot be read whole would serve nobody.
    return document.dump(2, ' ', terminal.isTerminal, Json::error_handler_t::replace) + "\n";
}

}  // namespace quorvel
