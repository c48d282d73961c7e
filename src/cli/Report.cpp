#include "cli/Report.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quorvel {

void ReportHead::notePartial(std::string problem) {
    outcome = Outcome::partial;
    status = ExitStatus::partial;
    if (!error) error = std::move(problem);
}

void ReportHead::noteFailure(std::string problem, ExitStatus why) {
    outcome = Outcome::failed;
    status = why;
    error = std::move(problem);
}

void ReportHead::noteNewer() {
    if (outcome == Outcome::complete) status = ExitStatus::newer;
}

ExitStatus ReportHead::exitStatus(std::initializer_list<ExitStatus> outputs, const CommandLine& line) const {
    if (std::ranges::find(outputs, ExitStatus::unexpected) != outputs.end()) return ExitStatus::unexpected;
    return line.exitZero && status == ExitStatus::newer ? ExitStatus::nothingNewer : status;
}

std::string_view name(ReportHead::Outcome outcome) {
    constexpr std::array<std::string_view, 3> names{"complete", "partial", "failed"};
    return names[static_cast<std::size_t>(outcome)];
}

Verdict skippedVerdict(const ListedApp& app, SkipCode code, std::string_view reason, bool isAnswered) {
    constexpr std::array<std::string_view, 5> codes{"not_recognised", "installed_version_invalid",
                                                    "catalog_version_invalid", "up_to_date",
                                                    "requires_newer_os"};
    if (code == SkipCode::notRecognised && !isAnswered)
        return {.app = app, .code = "not_answered", .reason = "not answered"};
    return {.app = app, .code = codes[static_cast<std::size_t>(code)], .reason = reason};
}

std::size_t HostReport::newer() const {
    return static_cast<std::size_t>(std::ranges::count(verdicts.updates, false, &Verdict::isIgnored));
}

}  // namespace quorvel
