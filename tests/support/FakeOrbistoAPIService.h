#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "api/OrbistoAPIServiceProtocol.h"
#include "platform/Queue.h"

namespace quorvel {

/// A catalog that answers what the test laid out for it, through the main queue, and writes down what it was
/// asked.
class FakeOrbistoAPIService final : public OrbistoAPIServiceProtocol {
public:
    using ChunkOutcome = std::expected<AutoMatchAnswer, RequestError>;

    explicit FakeOrbistoAPIService(Queue& queue) : queue(queue) {}

    void autoMatch(std::vector<std::string> titles, std::vector<std::string> bundleIds,
                   Completion<AutoMatchAnswer> completion) override {
        requests.push_back("auto-match " + std::to_string(titles.size()));
        lastTitles = std::move(titles);
        lastBundleIds = std::move(bundleIds);
        ChunkOutcome outcome;
        if (!chunkOutcomes.empty()) {
            outcome = std::move(chunkOutcomes.front());
            chunkOutcomes.pop_front();
        }
        queue.post([outcome = std::move(outcome), completion = std::move(completion)]() mutable {
            completion(std::move(outcome));
        });
    }

    void registerInstance(const RegisterInstanceRequest& request,
                          Completion<std::int64_t> completion) override {
        requests.push_back("register " + request.version + " " + request.os);
        queue.post([outcome = registration, completion = std::move(completion)]() mutable {
            completion(std::move(outcome));
        });
    }

    void sendInstallEvent(Completion<void> completion) override {
        requests.push_back("install event");
        queue.post([completion = std::move(completion)]() mutable { completion({}); });
    }

    void post(std::string_view path, const TrackingRequest& record,
              Completion<APIResponse<NoData>> completion) override {
        requests.push_back(std::string(path) + " " + std::to_string(record.instanceId) + " " + record.source +
                           " " + record.status + " " + record.message);
        lastBacktrace = record.backtrace;
        // Tracking is never looked at, so its failure is the more telling answer.
        queue.post([completion = std::move(completion)]() mutable {
            completion(std::unexpected(SessionError{SessionError::Code::timedOut, "No answer."}));
        });
    }

    void reportError(std::string_view message, std::int64_t instanceId,
                     const std::optional<std::string>& details, Completion<void> completion) override {
        requests.push_back("report " + std::to_string(instanceId) + " " + std::string(message));
        lastBacktrace = details;
        queue.post([completion = std::move(completion)]() mutable { completion({}); });
    }

    Queue& queue;
    std::vector<std::string> requests;
    std::vector<std::string> lastTitles;
    std::vector<std::string> lastBundleIds;
    std::optional<std::string> lastBacktrace;
    /// One for each chunk to come; a chunk beyond them gets an empty list.
    std::deque<ChunkOutcome> chunkOutcomes;
    std::expected<std::int64_t, RequestError> registration = 48213;
};

}  // namespace quorvel
