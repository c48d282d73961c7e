#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "check/AppUpdate.h"
#include "check/MatchEvaluation.h"
#include "platform/OperatingSystem.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// How one check of quorvel-check went, as a value that the printers paint.
struct CheckReport {
    enum class Outcome { complete, partial, failed };

    /// The program's exit status when it reports this.
    enum class Status {
        nothingNewer = 0,
        unexpected = 1,
        partial = 3,
        notReached = 4,
        refused = 5,
        newer = 100
    };

    Outcome outcome = Outcome::complete;
    Status status = Status::nothingNewer;
    /// What failed; with a partial outcome the first request that did.
    std::optional<std::string> error;
    OSVersion os;
    std::size_t apps = 0;
    /// In the menu's order.
    std::vector<AppUpdate> updates;
    std::vector<SkippedApp> skipped;
    std::vector<ScanIssue> issues;
};

}  // namespace quorvel
