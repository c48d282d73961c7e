#include "check/UpdateCheckService.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "check/CheckSummary.h"
#include "check/Chunks.h"
#include "platform/Weakly.h"
#include "platform/text/Text.h"

namespace quorvel {

/// Everything that the questions of one check carry from callback to callback.
struct UpdateCheckService::Question {
    std::size_t chunks() const { return chunkCount(inventory.size()); }

    std::vector<InstalledApp> inventory;
    CheckObserver observer;
    MatchCompletion completion{};
    Matches matches{};
    std::vector<RequestError> errors{};
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
    auto state = std::make_shared<Question>(Question{std::move(inventory), std::move(observer)});
    // The question is on the way for as long as it can complete.
    state->completion = [this, &question = *state, scanIssues = std::move(scanIssues),
                         trigger = std::string(trigger),
                         completion = std::move(completion)](auto matches) mutable {
        if (!matches) return completion(std::unexpected(std::move(matches.error())));
        Updates updates = evaluateMatches(question, *matches, *scanIssues);
        reportFinished(trigger, question.inventory.size(), updates.size());
        completion(std::move(updates));
    };
    ask(state);
}

void UpdateCheckService::match(std::vector<InstalledApp> inventory, MatchCompletion completion,
                               CheckObserver observer) {
    ask(std::make_shared<Question>(
        Question{std::move(inventory), std::move(observer), std::move(completion)}));
}

void UpdateCheckService::ask(const QuestionState& state) {
    registration->prepareInstance(
        weakly(shared_from_this(), [state](UpdateCheckService& self) { self.sendChunk(state, 0); }));
}

void UpdateCheckService::sendChunk(const QuestionState& state, std::size_t index) {
    notify(state->observer.onChunk, index, state->chunks());
    const auto apps = chunk(state->inventory, index);
    parts.api->autoMatch(
        texts(apps, &InstalledApp::name), texts(apps, &InstalledApp::bundleID),
        weakly(shared_from_this(), [state, index](UpdateCheckService& self, ChunkOutcome outcome) {
            self.handleChunkResult(state, index, std::move(outcome));
        }));
}

void UpdateCheckService::handleChunkResult(const QuestionState& state, std::size_t index,
                                           ChunkOutcome outcome) {
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

void UpdateCheckService::sendNextChunk(const QuestionState& state, std::size_t index) {
    // No pause after the last chunk: the end of the check follows its answer at once.
    if (index == state->chunks()) {
        finish(state);
    } else {
        parts.mainQueue.postAfter(parts.interChunkDelay,
                                  weakly(shared_from_this(), [state, index](UpdateCheckService& self) {
                                      self.sendChunk(state, index);
                                  }));
    }
}

void UpdateCheckService::finish(const QuestionState& state) {
    if (state->matches.empty() && !state->errors.empty()) {
        state->completion(std::unexpected(UpdateCheckError{
            UpdateCheckError::ApiFailed{std::move(state->errors.front()), state->inventory.size()}}));
    } else {
        state->completion(std::move(state->matches));
    }
}

UpdateCheckService::Updates UpdateCheckService::evaluateMatches(const Question& question,
                                                                const Matches& matches,
                                                                std::span<const ScanIssue> scanIssues) const {
    MatchEvaluation evaluation = evaluate(question.inventory, matches, *parts.versionComparator,
                                          parts.ignoredVersionsStore, parts.environment.os);
    parts.errorLogger.appendRaw(checkSummary(evaluation, scanIssues, parts.errorLogger.timestamp()));
    notify(question.observer.onEvaluated, evaluation);
    sortByName(evaluation.updates, parts.locale);
    return std::move(evaluation.updates);
}

}  // namespace quorvel
