#pragma once

#include <string>

#include "cli/CheckReport.h"
#include "cli/Terminal.h"

namespace quorvel {

/// The report for people: the newer versions and a line that sums up; with `all`, also every other
/// application with the reason why it is not among them, and each bundle that could not be listed.
std::string tableReport(const CheckReport& report, bool all, const Terminal& terminal);

}  // namespace quorvel
