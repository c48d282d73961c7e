#pragma once

#include <cstddef>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "check/UpdateCheckService.h"
#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "cli/ReportHead.h"
#include "persistence/ErrorLogger.h"
#include "platform/posix/TaskQueue.h"
#include "platform/posix/http/CurlSession.h"

namespace quorvel {

/// One check's conversation with the catalog, from the registration to the last message, which may still be
/// on its way when the report is printed. What goes wrong is noted in the head of the report.
class CatalogRun {
public:
    CatalogRun(const CommandLine& line, ReportHead& head);

    /// Checks the applications, at least one; none when that failed. `onEvaluated` comes before.
    std::optional<UpdateCheckService::Updates> check(const std::vector<InstalledApp>& apps,
                                                     const std::vector<ScanIssue>& issues,
                                                     std::function<void(const MatchEvaluation&)> onEvaluated);

    /// Asks about the applications, at least one, and evaluates nothing; none when that failed.
    std::optional<UpdateCheckService::Matches> match(const std::vector<InstalledApp>& apps);

    /// Says that what `match` began is done.
    void reportFinished(std::size_t appCount, std::size_t updateCount) const {
        service->reportFinished(trigger, appCount, updateCount);
    }

    /// Whether the chunk in which this application was asked for came back whole.
    bool isAnswered(std::size_t app) const;

    /// For the end, when everything has been printed.
    void waitForLastRequests();

private:
    static constexpr const char* trigger = "manual";

    CheckObserver observer();
    template <typename Result>
    std::optional<Result> finish(std::expected<Result, UpdateCheckError> result);

    ReportHead& head;
    TaskQueue queue;
    Progress progress;
    CurlSession session;
    const ErrorLogger logger;
    const std::shared_ptr<UpdateCheckService> service;
    /// Chunks for which no answer came that could be read whole.
    std::set<std::size_t> unansweredChunks;
    std::size_t lost = 0;
};

/// Said once and before the check, which then registers a new installation.
void sayWhereNothingIsKept(const CommandLine& line);

}  // namespace quorvel
