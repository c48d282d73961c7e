#pragma once

#include <chrono>
#include <expected>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api/Environment.h"
#include "api/OrbistoAPIServiceProtocol.h"
#include "check/AppUpdate.h"
#include "check/CheckObserver.h"
#include "check/InstanceRegistration.h"
#include "check/UpdateCheckError.h"
#include "connectivity/ConnectivityService.h"
#include "persistence/ErrorLogger.h"
#include "persistence/FirstRunStore.h"
#include "persistence/IgnoredVersionsStore.h"
#include "persistence/InstanceStore.h"
#include "platform/Queue.h"
#include "scanner/AppScannerServiceProtocol.h"
#include "versions/VersionComparatorProtocol.h"

namespace quorvel {

/// Turns a scanned inventory into the list of available updates: sends it to the catalog in chunks, one
/// request at a time, and evaluates the matches. Keeps no state between checks; two checks may run side by
/// side. Held by a shared pointer: a check that is under way when the service goes is never completed. Main
/// thread.
class UpdateCheckService : public std::enable_shared_from_this<UpdateCheckService> {
public:
    using Updates = std::vector<AppUpdate>;
    using Completion = UniqueFunction<void(std::expected<Updates, UpdateCheckError>)>;
    using Matches = std::vector<AutoMatchResult>;
    using MatchCompletion = UniqueFunction<void(std::expected<Matches, UpdateCheckError>)>;
    /// Shared, because the caller's own list is the one that the summary reads at the end.
    using ScanIssues = std::shared_ptr<std::vector<ScanIssue>>;

    /// What the service works with; the parts held by reference outlive it.
    struct Parts {
        std::unique_ptr<AppScannerServiceProtocol> scanner;
        std::unique_ptr<OrbistoAPIServiceProtocol> api;
        std::unique_ptr<VersionComparatorProtocol> versionComparator;
        InstanceStore instanceStore;
        FirstRunStore firstRunStore;
        IgnoredVersionsStore ignoredVersionsStore;
        ErrorLogger errorLogger;
        std::unique_ptr<ConnectivityService> connectivity;
        std::chrono::nanoseconds interChunkDelay{};
        Environment environment;
        Queue& mainQueue;
        /// By which names are sorted; see NameCollator.
        std::string locale{};
    };

    explicit UpdateCheckService(Parts parts);

    /// Scans, then checks what was found. An empty inventory is a success without updates and without a
    /// request; its completion runs inside this call.
    void scanAndCheck(std::string_view trigger, Completion completion, CheckObserver observer = {});

    /// Checks a non-empty inventory. `trigger` is "launch", "manual" or "background". The completion runs
    /// later, once.
    void check(std::vector<InstalledApp> inventory, ScanIssues scanIssues, std::string_view trigger,
               Completion completion, CheckObserver observer = {});

    /// Asks the catalog as a check does, and evaluates nothing: the results of all chunks, in the order in
    /// which they came.
    void match(std::vector<InstalledApp> inventory, MatchCompletion completion, CheckObserver observer = {});

    /// What `check` reports once it has evaluated; for who calls `match`.
    void reportFinished(std::string_view trigger, std::size_t appCount, std::size_t updateCount) const {
        registration->trackInstanceRunning(trigger, appCount, updateCount);
    }

    ConnectivityService& connectivity() const { return *parts.connectivity; }

private:
    struct Question;
    using QuestionState = std::shared_ptr<Question>;
    using ChunkOutcome = std::expected<AutoMatchAnswer, RequestError>;

    void ask(const QuestionState& state);
    void sendChunk(const QuestionState& state, std::size_t index);
    void handleChunkResult(const QuestionState& state, std::size_t index, ChunkOutcome outcome);
    void sendNextChunk(const QuestionState& state, std::size_t index);
    void finish(const QuestionState& state);
    Updates evaluateMatches(const Question& question, const Matches& matches,
                            std::span<const ScanIssue> scanIssues) const;

    const Parts parts;
    const std::shared_ptr<InstanceRegistration> registration;
};

}  // namespace quorvel
