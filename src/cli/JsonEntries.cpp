#include "cli/JsonEntries.h"

#include <array>
#include <ctime>

#include "platform/ProgramInfo.h"

namespace quorvel {

namespace {

void writeApplication(JsonWriter& json, const ApplicationEntry& app) {
    json.member("name", app.name);
    json.member("bundle_identifier", app.bundleIdentifier);
    json.member("path", app.path);
    json.member("installed_version", app.installedVersion);
}

std::string_view name(SkipCode code) {
    constexpr std::array<std::string_view, 5> codes{"not_recognised", "installed_version_invalid",
                                                    "catalog_version_invalid", "up_to_date",
                                                    "requires_newer_os"};
    return codes[static_cast<std::size_t>(code)];
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

void writeUpdate(JsonWriter& json, const ApplicationEntry& app, std::string_view availableVersion,
                 std::int64_t catalogId, bool isIgnored) {
    json.beginObject();
    writeApplication(json, app);
    json.member("available_version", availableVersion);
    json.member("catalog_id", catalogId);
    json.member("catalog_url", appPageURL(catalogId));
    json.member("ignored", isIgnored);
    json.endObject();
}

void writeSkipped(JsonWriter& json, const ApplicationEntry& app, SkipCode code, std::string_view reason,
                  bool isAnswered) {
    json.beginObject();
    writeApplication(json, app);
    json.member("code", isAnswered ? name(code) : "not_answered");
    json.member("reason", isAnswered ? reason : "not answered");
    json.endObject();
}

void writeIssue(JsonWriter& json, const ScanIssue& issue, std::string_view code) {
    json.beginObject();
    json.member("name", issue.appName);
    json.member("path", issue.path);
    json.member("code", code);
    json.member("reason", issue.reason);
    json.endObject();
}

std::string_view codeOf(const ScanIssue& issue) {
    return issue.reason == "no version" ? "no_version" : "unreadable";
}

std::string_view name(ReportHead::Outcome outcome) {
    constexpr std::array<std::string_view, 3> names{"complete", "partial", "failed"};
    return names[static_cast<std::size_t>(outcome)];
}

std::string timestamp(std::chrono::system_clock::time_point time) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    std::array<char, 32> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

}  // namespace quorvel
