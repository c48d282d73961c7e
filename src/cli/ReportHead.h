#pragma once

#include <chrono>
#include <initializer_list>
#include <optional>
#include <string>

#include "cli/CommandLine.h"
#include "cli/Console.h"

namespace quorvel {

/// What every report says of its check.
struct ReportHead {
    enum class Outcome { complete, partial, failed };

    explicit ReportHead(std::string baseUrl) : catalog(std::move(baseUrl)) {}

    /// Of several problems the first is told.
    void notePartial(std::string problem);
    void noteFailure(std::string problem, ExitStatus why);
    /// Decides on the status, once nothing more can fail.
    void conclude(bool hasNewer);

    /// The program's own, where some of its outputs may have been lost.
    ExitStatus exitStatus(std::initializer_list<ExitStatus> outputs, const CommandLine& line) const;

    Outcome outcome = Outcome::complete;
    ExitStatus status = ExitStatus::nothingNewer;
    /// What failed; with a partial outcome the first thing that did.
    std::optional<std::string> error;
    std::chrono::system_clock::time_point checkedAt = std::chrono::system_clock::now();
    /// Base URL.
    std::string catalog;
};

}  // namespace quorvel
