#include "cli/ReportHead.h"

#include <algorithm>
#include <utility>

namespace quorvel {

void ReportHead::notePartial(std::string problem) {
    outcome = Outcome::partial;
    if (!error) error = std::move(problem);
}

void ReportHead::noteFailure(std::string problem, ExitStatus why) {
    outcome = Outcome::failed;
    error = std::move(problem);
    status = why;
}

void ReportHead::conclude(bool hasNewer) {
    if (outcome == Outcome::partial) status = ExitStatus::partial;
    if (outcome == Outcome::complete && hasNewer) status = ExitStatus::newer;
}

ExitStatus ReportHead::exitStatus(std::initializer_list<ExitStatus> outputs, const CommandLine& line) const {
    if (std::ranges::find(outputs, ExitStatus::unexpected) != outputs.end()) return ExitStatus::unexpected;
    return line.exitZero && status == ExitStatus::newer ? ExitStatus::nothingNewer : status;
}

}  // namespace quorvel
