#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "check/AppUpdate.h"
#include "check/MatchEvaluation.h"
#include "cli/Inventory.h"
#include "cli/ReportHead.h"

namespace quorvel {

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
struct CheckReport : ReportHead {
    explicit CheckReport(std::string baseUrl = "") : ReportHead(std::move(baseUrl)) {}

    RunningSystem system;
    Inventory inventory;
    /// In the menu's order.
    std::vector<AppUpdate> updates;
    /// In the order of paths.
    std::vector<SkippedEntry> skipped;
};

/// For people: the newer versions and a line that sums up; with `all`, also every other application with the
/// reason why it is not among them, and each bundle that could not be listed.
std::string tableReport(const CheckReport& report, bool all, const Terminal& terminal);

/// One JSON document of the schema "quorvel-check/1", with a line feed at its end: the same for the same
/// report in every locale. On a terminal, everything beyond ASCII is escaped, so that nothing in it is
/// obeyed.
std::string jsonReport(const CheckReport& report, const Terminal& terminal);

}  // namespace quorvel
