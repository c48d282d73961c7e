#pragma once

#include <deque>
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
    /// What comes of one application on one host. `result` and `app` are the fleet's and the evaluation's.
    struct Verdict {
        const FleetApp* app = nullptr;
        /// Null where the catalog does not know the application.
        const AutoMatchResult* result = nullptr;
        /// Null for an update.
        const Skip* skip = nullptr;
        bool isAnswered = true;
        bool isIgnored = false;
        /// Of an update: by which its host's are sorted.
        std::string_view sortKey{};
    };

    /// Each application of the host is in one of the two.
    struct HostResult {
        /// By name in the order of the root collation, then by path.
        std::vector<Verdict> updates;
        /// By path.
        std::vector<Verdict> skipped;
        /// What `skip` points to where the host's own system decides.
        std::deque<Skip> systemSkips;
    };

    /// The fleet and the ignored versions outlive the evaluation. `unanswered`: identifiers for which no
    /// answer came that could be read whole.
    FleetEvaluation(const Fleet& fleet, std::vector<AutoMatchResult> results,
                    std::unordered_set<std::string> unanswered, const IgnoredVersions& ignored);

    /// `system`: none applies no minimum.
    HostResult evaluate(const FleetHost& host, const std::optional<OSVersion>& system);

private:
    /// What is the same on every host: of one entry of the catalog and one installed version.
    struct Comparison {
        const AutoMatchResult* result = nullptr;
        std::optional<Skip> skip;
    };
    struct PairHash {
        std::size_t operator()(const std::pair<const AutoMatchResult*, const char*>& pair) const;
    };

    const Comparison& compared(AppTable::Index app);
    std::string_view sortKey(std::string_view name);
    Verdict verdict(AppTable::Index app, const std::optional<OSVersion>& system, HostResult& host);

    const Fleet& fleet;
    const std::vector<AutoMatchResult> results;
    const ResultIndex index;
    const std::unordered_set<std::string> unanswered;
    const IgnoredVersions& ignored;
    const VersionComparator comparator;
    const text::NameCollator collator{""};
    /// By entry, and by the place of the version's text.
    std::unordered_map<std::pair<const AutoMatchResult*, const char*>, Comparison, PairHash> comparisons;
    /// By application; null until it is asked for.
    std::vector<const Comparison*> byApp;
    /// By the place of the name's text.
    std::unordered_map<const char*, std::string> sortKeys;
};

}  // namespace quorvel
