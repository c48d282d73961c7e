#pragma once

#include <span>
#include <string>
#include <string_view>

#include "check/MatchEvaluation.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// The block that a finished check appends to the log: its counts, then each bundle that could not be listed
/// or compared. Lines are joined by line feeds, without one at the end.
std::string checkSummary(const MatchEvaluation& evaluation, std::span<const ScanIssue> scanIssues,
                         std::string_view timestamp);

}  // namespace quorvel
