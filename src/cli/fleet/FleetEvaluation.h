#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "check/MatchEvaluation.h"
#include "cli/fleet/Fleet.h"
#include "persistence/IgnoredVersionsStore.h"
#include "platform/text/Text.h"
#include "scanner/InstalledApp.h"
#include "versions/VersionComparator.h"

namespace quorvel {

/// What the catalog is asked of a fleet: each distinct identifier of its hosts once, in order, under the name
/// that most rows have for it, the first of those in order on a tie.
std::vector<InstalledApp> distinctApplications(const Fleet& fleet);

/// The catalog's answers for all hosts of a fleet; evaluates one host at a time, as if it had asked alone.
class FleetEvaluation {
public:
    /// The fleet outlives the evaluation. `unanswered`: identifiers for which no
    /// answer came that could be read whole.
    FleetEvaluation(const Fleet& fleet, std::vector<AutoMatchResult> results,
                    std::unordered_set<std::string> unanswered, IgnoredVersions ignored);

    /// `system`: none applies no minimum. The texts are the fleet's and the evaluation's.
    Verdicts evaluate(const FleetHost& host, const std::optional<OSVersion>& system);

private:
    /// What is the same on every host.
    struct Comparison {
        const AutoMatchResult* result = nullptr;
        std::optional<Skip> skip;
    };

    const Comparison& compared(AppTable::Index app);
    /// None for an update.
    const Skip* skip(const Comparison& comparison, const std::optional<OSVersion>& system);
    std::string_view sortKey(std::string_view name);

    const Fleet& fleet;
    const std::vector<AutoMatchResult> results;
    const ResultIndex index;
    const std::unordered_set<std::string> unanswered;
    const IgnoredVersions ignored;
    const VersionComparator comparator;
    const text::NameCollator collator{""};
    /// By application; none until it is asked for.
    std::vector<std::optional<Comparison>> comparisons;
    /// Of entries that an older system than theirs has met.
    std::unordered_map<const AutoMatchResult*, Skip> systemSkips;
    /// By the place of the name's text.
    std::unordered_map<const char*, std::string> sortKeys;
};

}  // namespace quorvel
