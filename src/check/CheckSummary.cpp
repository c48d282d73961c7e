#include "check/CheckSummary.h"

#include <algorithm>
#include <cstddef>
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

struct Counts {
    std::size_t latest = 0;
    std::size_t newerOS = 0;
    std::size_t invalid = 0;
    std::size_t unmatched = 0;
};

Counts count(std::span<const SkippedApp> skipped) {
    Counts counts;
    for (const auto& app : skipped) {
        if (app.code == SkipCode::upToDate) ++counts.latest;
        if (app.code == SkipCode::requiresNewerOS) ++counts.newerOS;
        if (isInvalidVersion(app.code)) ++counts.invalid;
        if (app.code == SkipCode::notRecognised) ++counts.unmatched;
    }
    return counts;
}

std::string matchedLine(const Counts& counts, std::size_t updates) {
    std::string parts;
    const auto addPart = [&parts](std::size_t number, std::string_view what) {
        if (number == 0) return;
        if (!parts.empty()) parts += ", ";
        parts += std::to_string(number) + std::string(what);
    };
    addPart(counts.latest, " already latest");
    addPart(counts.newerOS, " require newer OS");
    addPart(counts.invalid, " invalid version");

    const std::size_t matched = counts.latest + counts.newerOS + counts.invalid + updates;
    return "Matched: " + std::to_string(matched) + (parts.empty() ? "" : " (" + parts + ")");
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
    const Counts counts = count(evaluation.skipped);
    const auto shown = std::ranges::count(evaluation.updates, false, &AppUpdate::isIgnored);
    const std::size_t all = evaluation.updates.size() + evaluation.skipped.size() + scanIssues.size();

    std::string block = "---\n[" + std::string(timestamp) + "] Check completed";
    block += "\nAll apps: " + std::to_string(all);
    block += "\n" + matchedLine(counts, evaluation.updates.size());
    block += "\nUnmatched: " + std::to_string(counts.unmatched);
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
