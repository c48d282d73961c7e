#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "api/Records.h"
#include "check/AppUpdate.h"
#include "persistence/IgnoredVersionsStore.h"
#include "platform/OperatingSystem.h"
#include "scanner/InstalledApp.h"
#include "versions/VersionComparatorProtocol.h"

namespace quorvel {

enum class SkipCode {
    notRecognised,
    installedVersionInvalid,
    catalogVersionInvalid,
    upToDate,
    requiresNewerOS,
};

/// An installed application that yields no update, and why.
struct SkippedApp {
    std::string name;
    std::string bundleID;
    std::string version;
    SkipCode code = SkipCode::notRecognised;
    /// The same for people.
    std::string reason;
    /// Where the bundle lies: two copies of one application differ in nothing else.
    std::string path;
};

/// Every application of the inventory is in exactly one of the two lists.
struct MatchEvaluation {
    /// In scan order; `sortByName` brings them into the menu's order.
    std::vector<AppUpdate> updates;
    /// In scan order.
    std::vector<SkippedApp> skipped;
};

/// Ties catalog results to installed applications by bundle identifier and classifies each application. Reads
/// the ignored versions afresh for every update that it finds. Main thread.
MatchEvaluation evaluate(std::span<const InstalledApp> inventory, std::span<const AutoMatchResult> results,
                         const VersionComparatorProtocol& comparator,
                         const IgnoredVersionsStore& ignoredVersions, const OSVersion& runningOS);

/// Orders by application name as NameCollator does. Equal names keep their order.
void sortByName(std::vector<AppUpdate>& updates, const std::string& locale);

/// Catalog results by bundle identifier as exact text, a later one in place of an earlier. Points into them.
using ResultIndex = std::unordered_map<std::string_view, const AutoMatchResult*>;
ResultIndex indexResults(std::span<const AutoMatchResult> results);
/// None where the catalog does not know the application.
const AutoMatchResult* findResult(const ResultIndex& index, std::string_view bundleID);

/// Why an application yields no update.
struct Skip {
    SkipCode code;
    /// The same for people.
    std::string reason;
};

/// The steps of `evaluate`, for who goes through many inventories: what the versions say, none when the
/// result's is newer; what the system says then; and whether the user ignores the version.
std::optional<Skip> compareVersions(std::string_view installed, const AutoMatchResult* result,
                                    const VersionComparatorProtocol& comparator);
std::optional<Skip> requireSystem(const AutoMatchResult& result, const OSVersion& runningOS);
bool isIgnored(const IgnoredVersions& ignored, std::string_view bundleID, std::string_view version);

/// The lowest system version in a catalog text such as "macOS 11" or "10.9+"; none when it names none.
std::optional<OSVersion> parseMinimumOS(const std::optional<std::string>& text);

}  // namespace quorvel
