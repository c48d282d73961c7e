#include "check/UpdateCheckService.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "check/CheckSummary.h"
#include "check/Chunks.h"
#include "platform/Weakly.h"
#include "platform/text/Text.h"

namespace quorvel {

/// Everything that one check carries from callback to callback.
struct UpdateCheckService::Check {
    std::size_t chunks() const { return chunkCount(inventory.size()); }

    std::vector<InstalledApp> inventory;
    ScanIssues scanIssues;
    std::string trigger;
    Completion completion;
    CheckObserver observer;
    std::vector<AutoMatchResult> matches;
    std::vector<RequestError> errors;
};

namespace {

/// Whether the catalog refuses the user's network.
bool isBlocked(const RequestError& error) {
    const auto* http = httpError(error);
    return http != nullptr && http->statusCode == 403 &&
           text::lowerCased(http->body).find("blocked") != std::string::npos;
}

/// Calls an observer's member when somebody listens.
template <typename Function, typename... Arguments>
void notify(const Function& function, const Arguments&... arguments) {
    if (function) function(arguments...);
}

}  // namespace

UpdateCheckService::UpdateCheckService(Parts parts)
    : parts(std::move(parts)),
      registration(std::make_shared<InstanceRegistration>(*this->parts.api, this->parts.instanceStore,
                                                          this->parts.firstRunStore, this->parts.errorLogger,
                                                          this->parts.environment)) {}

void UpdateCheckService::scanAndCheck(std::string_view trigger, Completion completion,
                                      CheckObserver observer) {
    auto scanIssues = std::make_shared<std::vector<ScanIssue>>();
    auto inventory = parts.scanner->scan(*scanIssues);
    if (inventory.empty()) {
        parts.errorLogger.log("Scanner found 0 apps — skipping API call");
        completion(Updates{});
        return;
    }
    check(std::move(inventory), std::move(scanIssues), trigger, std::move(completion), std::move(observer));
}

void UpdateCheckService::check(std::vector<InstalledApp> inventory, ScanIssues scanIssues,
                               std::string_view trigger, Completion completion, CheckObserver observer) {
    auto state = std::make_shared<Check>(Check{.inventory = std::move(inventory),
                                               .scanIssues = std::move(scanIssues),
                                               .trigger = std::string(trigger),
                                               .completion = std::move(completion),
                                               .observer = std::move(observer),
                                               .matches = {},
                                               .errors = {}});
    registration->prepareInstance(
        weakly(shared_from_this(), [state](UpdateCheckService& self) { self.performCheck(state); }));
}

void UpdateCheckService::performCheck(const CheckState& state) {
    sendChunk(state, 0);
}

void UpdateCheckService::sendChunk(const CheckState& state, std::size_t index) {
    notify(state->observer.onChunk, index, state->chunks());
    const auto apps = chunk(state->inventory, index);
    parts.api->autoMatch(
        texts(apps, &InstalledApp::name), texts(apps, &InstalledApp::bundleID),
        weakly(shared_from_this(), [state, index](UpdateCheckService& self, ChunkOutcome outcome) {
            self.handleChunkResult(state, index, std::move(outcome));
        }));
}

void UpdateCheckService::handleChunkResult(const CheckState& state, std::size_t index, ChunkOutcome outcome) {
    if (outcome) {
        notify(state->observer.onAnswer, index, outcome->lostEntries);
        std::ranges::move(outcome->results, std::back_inserter(state->matches));
        sendNextChunk(state, index + 1);
        return;
    }
    const RequestError& error = outcome.error();
    parts.errorLogger.log("Chunk " + std::to_string(index + 1) + "/" + std::to_string(state->chunks()) +
                          " failed: " + description(error));
    notify(state->observer.onChunkFailed, index, error);
    if (isBlocked(error)) {
        state->completion(
            std::unexpected(UpdateCheckError{UpdateCheckError::IpBlocked{state->inventory.size()}}));
        return;
    }
    state->errors.push_back(error);
    sendNextChunk(state, index + 1);
}

void UpdateCheckService::sendNextChunk(const CheckState& state, std::size_t index) {
    // No pause after the last chunk: the end of the check follows its answer at once.
    if (index == state->chunks()) {
        finishCheck(state);
    } else if (parts.interChunkDelay > std::chrono::nanoseconds::zero()) {
        parts.mainQueue.postAfter(parts.interChunkDelay,
                                  weakly(shared_from_this(), [state, index](UpdateCheckService& self) {
                                      self.sendChunk(state, index);
                                  }));
    } else {
        sendChunk(state, index);
    }
}

void UpdateCheckService::finishCheck(const CheckState& state) {
    if (state->matches.empty() && !state->errors.empty()) {
        state->completion(std::unexpected(UpdateCheckError{
            UpdateCheckError::ApiFailed{std::move(state->errors.front()), state->inventory.size()}}));
        return;
    }
    Updates updates = evaluateMatches(*state);
    registration->trackInstanceRunning(state->trigger, state->inventory.size(), updates.size());
    state->completion(std::move(updates));
}

UpdateCheckService::Updates UpdateCheckService::evaluateMatches(const Check& check) const {
    MatchEvaluation evaluation = evaluate(check.inventory, check.matches, *parts.versionComparator,
                                          parts.ignoredVersionsStore, parts.environment.os);
    parts.errorLogger.appendRaw(checkSummary(evaluation, *check.scanIssues, parts.errorLogger.timestamp()));
    notify(check.observer.onEvaluated, evaluation);
    sortByName(evaluation.updates, parts.locale);
    return std::move(evaluation.updates);
}

}  // namespace quorvel
