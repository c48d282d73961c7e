#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "check/AppUpdate.h"
#include "check/MatchEvaluation.h"
#include "cli/CheckSetup.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// The exit status of quorvel-check.
enum class ExitStatus {
    nothingNewer = 0,
    unexpected = 1,
    wrongUsage = 2,
    partial = 3,
    notReached = 4,
    refused = 5,
    nothingScanned = 6,
    newer = 100
};

/// An application that yields no update.
struct SkippedEntry {
    SkippedApp app;
    /// False where the catalog's answer did not come, or not whole, so that the application's own reason is
    /// not known.
    bool isAnswered = true;
};

inline std::string reason(const SkippedEntry& entry) {
    return entry.isAnswered ? entry.app.reason : "not answered";
}

/// How one check of quorvel-check went, as a value that the printers paint.
struct CheckReport {
    enum class Outcome { complete, partial, failed };

    Outcome outcome = Outcome::complete;
    ExitStatus status = ExitStatus::nothingNewer;
    /// What failed; with a partial outcome the first thing that did.
    std::optional<std::string> error;
    std::chrono::system_clock::time_point checkedAt;
    /// Base URL.
    std::string catalog;
    RunningSystem system;
    /// Where applications were looked for.
    std::vector<std::string> folders;
    std::size_t apps = 0;
    /// In the menu's order.
    std::vector<AppUpdate> updates;
    /// In the order of paths, like the lists below.
    std::vector<SkippedEntry> skipped;
    std::vector<ScanIssue> issues;
    std::vector<ScanIssue> folderIssues;
};

}  // namespace quorvel
