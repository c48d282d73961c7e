#include "cli/fleet/FleetEvaluation.h"

#include <algorithm>
#include <functional>
#include <map>
#include <tuple>

namespace quorvel {

std::vector<InstalledApp> distinctApplications(const Fleet& fleet) {
    std::vector<std::size_t> rows(fleet.table.size());
    for (const auto& host : fleet.hosts) {
        for (const auto app : host.apps)
            ++rows[app];
    }
    std::map<std::string_view, std::map<std::string_view, std::size_t>> names;
    for (AppTable::Index app = 0; app < rows.size(); ++app) {
        const auto& [name, identifier, version, path] = fleet.table[app];
        if (rows[app] > 0 && !identifier.empty()) names[identifier][name] += rows[app];
    }
    std::vector<InstalledApp> asked;
    asked.reserve(names.size());
    for (const auto& [identifier, counts] : names) {
        const auto commonest =
            std::ranges::max_element(counts, {}, [](const auto& each) { return each.second; });
        asked.push_back({.name = std::string(commonest->first),
                         .bundleID = std::string(identifier),
                         .version = {},
                         .path = {},
                         .icon = {}});
    }
    return asked;
}

std::size_t FleetEvaluation::PairHash::operator()(
    const std::pair<const AutoMatchResult*, const char*>& pair) const {
    return std::hash<const void*>()(pair.first) * 31 ^ std::hash<const void*>()(pair.second);
}

FleetEvaluation::FleetEvaluation(const Fleet& fleet, std::vector<AutoMatchResult> found,
                                 std::unordered_set<std::string> unanswered, const IgnoredVersions& ignored)
    : fleet(fleet),
      results(std::move(found)),
      index(indexResults(results)),
      unanswered(std::move(unanswered)),
      ignored(ignored),
      byApp(fleet.table.size()) {}

const FleetEvaluation::Comparison& FleetEvaluation::compared(AppTable::Index number) {
    const auto*& known = byApp[number];
    if (known != nullptr) return *known;
    const FleetApp& app = fleet.table[number];
    const auto* result = findResult(index, app.identifier);
    const auto [entry, isNew] = comparisons.try_emplace({result, app.version.data()});
    if (isNew) entry->second = {result, compareVersions(app.version, result, comparator)};
    known = &entry->second;
    return *known;
}

std::string_view FleetEvaluation::sortKey(std::string_view name) {
    const auto [entry, isNew] = sortKeys.try_emplace(name.data());
    if (isNew) entry->second = collator.sortKey(name);
    return entry->second;
}

FleetEvaluation::Verdict FleetEvaluation::verdict(AppTable::Index number,
                                                  const std::optional<OSVersion>& system, HostResult& host) {
    const FleetApp& app = fleet.table[number];
    const Comparison& comparison = compared(number);
    Verdict verdict{.app = &app, .result = comparison.result};
    if (comparison.skip) {
        verdict.skip = &*comparison.skip;
        verdict.isAnswered = comparison.skip->code != SkipCode::notRecognised || unanswered.empty() ||
                             !unanswered.contains(std::string(app.identifier));
        return verdict;
    }
    if (auto skip = system ? requireSystem(*comparison.result, *system) : std::nullopt) {
        verdict.skip = &host.systemSkips.emplace_back(*std::move(skip));
        return verdict;
    }
    verdict.isIgnored = isIgnored(ignored, app.identifier, comparison.result->version);
    verdict.sortKey = sortKey(app.name);
    return verdict;
}

FleetEvaluation::HostResult FleetEvaluation::evaluate(const FleetHost& host,
                                                      const std::optional<OSVersion>& system) {
    HostResult result;
    for (const auto app : host.apps) {
        const Verdict found = verdict(app, system, result);
        (found.skip == nullptr ? result.updates : result.skipped).push_back(found);
    }
    std::ranges::stable_sort(result.updates, {}, &Verdict::sortKey);
    return result;
}

}  // namespace quorvel
