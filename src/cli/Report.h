#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "check/MatchEvaluation.h"
#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// What every report says of its check.
struct ReportHead {
    enum class Outcome { complete, partial, failed };

    explicit ReportHead(std::string baseUrl) : catalog(std::move(baseUrl)) {}

    /// Of several problems the first is told.
    void notePartial(std::string problem);
    void noteFailure(std::string problem, ExitStatus why);
    void noteNewer();

    bool hasFailed() const { return outcome == Outcome::failed; }
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

/// As documents and metrics name it.
std::string_view name(ReportHead::Outcome outcome);

/// An application as one or more hosts have it.
struct ListedApp {
    std::string_view name;
    /// Empty when it has none.
    std::string_view identifier;
    /// Never empty.
    std::string_view version;
    /// Empty when an inventory has none.
    std::string_view path{};

    bool operator==(const ListedApp&) const = default;
};

inline ListedApp listed(const InstalledApp& app) {
    return {app.name, app.bundleID, app.version, app.path};
}

/// What comes of one application on one host. Points to texts that outlive the report.
struct Verdict {
    ListedApp app;
    /// Of an update.
    std::string_view latestVersion{};
    std::int64_t catalogId = 0;
    bool isIgnored = false;
    bool isAnswered() const { return code != "not_answered"; }
    /// Why there is none, as documents name it and for people.
    std::string_view code{};
    std::string_view reason{};
};

/// Where the catalog's answer did not come, or not whole, it is not known whether it knows the application.
Verdict skippedVerdict(const ListedApp& app, SkipCode code, std::string_view reason, bool isAnswered);

/// Each application of a host is in one of the two.
struct Verdicts {
    std::vector<Verdict> updates;
    /// By path.
    std::vector<Verdict> skipped;
};

/// One host, this Mac or one of a fleet, with what came of it.
struct HostReport {
    /// Updates that are not ignored.
    std::size_t newer() const;

    std::string name{};
    /// Where its applications were found: folders, or an inventory.
    std::string source{};
    std::optional<std::chrono::sys_seconds> collectedAt{};
    RunningSystem system{};
    std::size_t apps = 0;
    /// Rows of an inventory that no scan would find.
    std::size_t outside = 0;
    Verdicts verdicts{};
    /// Bundles that could not be listed, and folders that could not be read.
    std::span<const ScanIssue> issues{};
    std::span<const ScanIssue> folderIssues{};
};

/// For people: the newer versions and a line that sums up; with `all`, also every other application with the
/// reason why it is not among them, and each bundle that could not be listed.
std::string tableReport(const HostReport& report, bool all, const Terminal& terminal);

/// One JSON document of the schema "quorvel-check/1", with a line feed at its end: the same for the same
/// report in every locale. On a terminal, everything beyond ASCII is escaped, so that nothing in it is
/// obeyed.
std::string jsonReport(const ReportHead& head, const HostReport& report, const Terminal& terminal);

}  // namespace quorvel
