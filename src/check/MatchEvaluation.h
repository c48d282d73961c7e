#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
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

/// The lowest system version in a catalog text such as "macOS 11" or "10.9+"; none when it names none.
std::optional<OSVersion> parseMinimumOS(const std::optional<std::string>& text);

}  // namespace quorvel
