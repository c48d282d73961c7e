#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "check/UpdateCheckService.h"
#include "cli/CommandLine.h"
#include "cli/Console.h"
#include "cli/Report.h"
#include "persistence/PersistenceManager.h"
#include "platform/HttpSession.h"
#include "platform/posix/TaskQueue.h"
#include "platform/posix/http/CurlSession.h"

namespace quorvel {

PersistenceManager storageOf(const CommandLine& line);

/// A client of the catalog that the command line names. What is held by reference outlives it.
std::unique_ptr<OrbistoAPIServiceProtocol> makeClient(const CommandLine& line, Queue& queue,
                                                      HttpSession& session);

/// A service for inventories that are handed to it; it scans nothing itself.
std::shared_ptr<UpdateCheckService> makeCheckService(const CommandLine& line,
                                                     const PersistenceManager& storage, Queue& queue,
                                                     HttpSession& session,
                                                     std::chrono::milliseconds pauseBetweenChunks);

/// The trigger of every check from a terminal, as the catalog is told.
inline constexpr const char* checkTrigger = "manual";

/// One check's conversation with the catalog, from the registration to the last message, which may still be
/// on its way when the report is printed. What goes wrong is noted in the head of the report.
class CatalogRun {
public:
    CatalogRun(const CommandLine& line, ReportHead& head);

    /// Checks the applications, at least one; an evaluation of none when that failed.
    MatchEvaluation check(const std::vector<InstalledApp>& apps, const std::vector<ScanIssue>& issues);

    /// Asks about the applications, at least one, and evaluates nothing; none when that failed.
    std::optional<UpdateCheckService::Matches> match(const std::vector<InstalledApp>& apps);

    /// Says that what `match` began is done.
    void reportFinished(std::size_t appCount, std::size_t updateCount) const {
        service->reportFinished(checkTrigger, appCount, updateCount);
    }

    /// By that text, the applications of chunks that did not come back whole.
    std::unordered_set<std::string> unanswered(const std::vector<InstalledApp>& apps,
                                               std::string InstalledApp::* field) const;

    /// For the end, when everything has been printed.
    void waitForLastRequests();

private:
    CheckObserver observer();
    template <typename Result, typename Begin>
    std::optional<Result> ask(Begin begin);

    const CommandLine& line;
    ReportHead& head;
    TaskQueue queue;
    Progress progress;
    CurlSession session;
    const std::shared_ptr<UpdateCheckService> service;
    /// Chunks for which no answer came that could be read whole.
    std::set<std::size_t> unansweredChunks;
    std::size_t lost = 0;
};

}  // namespace quorvel
