#include "check/CheckSummary.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace quorvel {

namespace {

struct IssuePair {
    std::string_view name;
    std::string_view reason;
};

bool isInvalidVersion(SkipCode code) {
    return code == SkipCode::installedVersionInvalid || code == SkipCode::catalogVersionInvalid;
}

std::string matchedLine(std::ptrdiff_t latest, std::ptrdiff_t newerOS, std::ptrdiff_t invalid,
                        std::ptrdiff_t updates) {
    std::string parts;
    for (const auto& [number, what] : {std::pair{latest, " already latest"},
                                       {newerOS, " require newer OS"},
                                       {invalid, " invalid version"}}) {
        if (number != 0) parts += (parts.empty() ? "" : ", ") + std::to_string(number) + what;
    }
    return "Matched: " + std::to_string(latest + newerOS + invalid + updates) +
           (parts.empty() ? "" : " (" + parts + ")");
}

/// In code-point order of the names, which is the byte order of UTF-8; on equal names scan issues come first.
std::vector<IssuePair> issuePairs(const MatchEvaluation& evaluation, std::span<const ScanIssue> scanIssues) {
    std::vector<IssuePair> pairs;
    for (const auto& issue : scanIssues)
        pairs.push_back({issue.appName, issue.reason});
    for (const auto& app : evaluation.skipped) {
        if (isInvalidVersion(app.code) || app.code == SkipCode::requiresNewerOS)
            pairs.push_back({app.name, app.reason});
    }
    std::ranges::stable_sort(pairs, {}, &IssuePair::name);
    return pairs;
}

}  // namespace

std::string checkSummary(const MatchEvaluation& evaluation, std::span<const ScanIssue> scanIssues,
                         std::string_view timestamp) {
    const auto count = [&](SkipCode code) {
        return std::ranges::count(evaluation.skipped, code, &SkippedApp::code);
    };
    const auto shown = std::ranges::count(evaluation.updates, false, &AppUpdate::isIgnored);
    const std::size_t all = evaluation.updates.size() + evaluation.skipped.size() + scanIssues.size();

    std::string block = "---\n[" + std::string(timestamp) + "] Check completed";
    block += "\nAll apps: " + std::to_string(all);
    block +=
        "\n" + matchedLine(count(SkipCode::upToDate), count(SkipCode::requiresNewerOS),
                           std::ranges::count_if(evaluation.skipped, isInvalidVersion, &SkippedApp::code),
                           std::ssize(evaluation.updates));
    block += "\nUnmatched: " + std::to_string(count(SkipCode::notRecognised));
    block += "\nUpdates: " + std::to_string(shown);

    const auto issues = issuePairs(evaluation, scanIssues);
    if (issues.empty()) return block;
    block += "\n---\nIssues (" + std::to_string(issues.size()) + "):";
    for (const auto& [name, reason] : issues) {
        block.append("\n  ").append(name).append(" — ").append(reason);
    }
    return block;
}

}  // namespace quorvel
