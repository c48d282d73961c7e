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

FleetEvaluation::FleetEvaluation(const Fleet& fleet, std::vector<AutoMatchResult> found,
                                 std::unordered_set<std::string> unanswered, IgnoredVersions ignored)
    : fleet(fleet),
      results(std::move(found)),
      index(indexResults(results)),
      unanswered(std::move(unanswered)),
      ignored(std::move(ignored)),
      comparisons(fleet.table.size()) {}

const FleetEvaluation::Comparison& FleetEvaluation::compared(AppTable::Index number) {
    auto& known = comparisons[number];
    if (known) return *known;
    const ListedApp& app = fleet.table[number];
    const auto* result = findResult(index, app.identifier);
    return known.emplace(result, compareVersions(app.version, result, comparator));
}

std::string_view FleetEvaluation::sortKey(std::string_view name) {
    const auto [entry, isNew] = sortKeys.try_emplace(name.data());
    if (isNew) entry->second = collator.sortKey(name);
    return entry->second;
}

const Skip* FleetEvaluation::skip(const Comparison& comparison, const std::optional<OSVersion>& system) {
    if (comparison.skip) return &*comparison.skip;
    auto found = system ? requireSystem(*comparison.result, *system) : std::nullopt;
    return found ? &systemSkips.try_emplace(comparison.result, *std::move(found)).first->second : nullptr;
}

Verdicts FleetEvaluation::evaluate(const FleetHost& host, const std::optional<OSVersion>& system) {
    Verdicts verdicts;
    for (const auto number : host.apps) {
        const ListedApp& app = fleet.table[number];
        const Comparison& comparison = compared(number);
        if (const Skip* const why = skip(comparison, system)) {
            const bool isAnswered = unanswered.empty() || !unanswered.contains(std::string(app.identifier));
            verdicts.skipped.push_back(skippedVerdict(app, why->code, why->reason, isAnswered));
        } else {
            const AutoMatchResult& result = *comparison.result;
            verdicts.updates.push_back(
                {app, result.version, result.id, isIgnored(ignored, app.identifier, result.version)});
        }
    }
    std::ranges::stable_sort(verdicts.updates, {},
                             [&](const Verdict& update) { return sortKey(update.app.name); });
    return verdicts;
}

}  // namespace quorvel
