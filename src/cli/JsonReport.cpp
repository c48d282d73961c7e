#include "cli/JsonReport.h"

#include <nlohmann/json.hpp>

#include "cli/CatalogPage.h"

namespace quorvel {

namespace {

using Json = nlohmann::ordered_json;

const char* name(CheckReport::Outcome outcome) {
    switch (outcome) {
        case CheckReport::Outcome::complete:
            return "complete";
        case CheckReport::Outcome::partial:
            return "partial";
        case CheckReport::Outcome::failed:
            return "failed";
    }
    return "failed";
}

Json updateList(const std::vector<AppUpdate>& updates) {
    Json list = Json::array();
    for (const auto& update : updates) {
        list.push_back({{"name", update.app.name},
                        {"bundle_identifier", update.app.bundleID},
                        {"path", update.app.path},
                        {"installed_version", update.app.version},
                        {"available_version", update.latestVersion},
                        {"catalog_id", update.obAppId},
                        {"catalog_url", catalogPage(update.obAppId)},
                        {"ignored", update.isIgnored}});
    }
    return list;
}

Json skippedList(const std::vector<SkippedApp>& skipped) {
    Json list = Json::array();
    for (const auto& app : skipped) {
        list.push_back({{"name", app.name},
                        {"bundle_identifier", app.bundleID},
                        {"path", app.path},
                        {"installed_version", app.version},
                        {"reason", app.reason}});
    }
    return list;
}

Json issueList(const std::vector<ScanIssue>& issues) {
    Json list = Json::array();
    for (const auto& issue : issues) {
        list.push_back({{"name", issue.appName}, {"path", issue.path}, {"reason", issue.reason}});
    }
    return list;
}

}  // namespace

std::string jsonReport(const CheckReport& report) {
    const Json document{{"schema", "quorvel-check/1"},
                        {"outcome", name(report.outcome)},
                        {"error", report.error ? Json(*report.error) : Json(nullptr)},
                        {"os_version", toText(report.os)},
                        {"apps", report.apps},
                        {"updates", updateList(report.updates)},
                        {"skipped", skippedList(report.skipped)},
                        {"issues", issueList(report.issues)}};
    // File names need not be valid UTF-8; a document that cannot be read whole would serve nobody.
    return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace quorvel
