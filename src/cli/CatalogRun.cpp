#include "cli/CatalogRun.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <utility>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CheckSetup.h"

namespace quorvel {

CatalogRun::CatalogRun(const CommandLine& line, ReportHead& head)
    : head(head),
      progress(queue, describeTerminal(STDERR_FILENO), stderr),
      logger(storageOf(line)),
      service(makeCheckService(line, storageOf(line), queue, session, interChunkDelay)) {}

std::optional<UpdateCheckService::Updates> CatalogRun::check(
    const std::vector<InstalledApp>& apps, const std::vector<ScanIssue>& issues,
    std::function<void(const MatchEvaluation&)> onEvaluated) {
    std::expected<UpdateCheckService::Updates, UpdateCheckError> result;
    auto listener = observer();
    listener.onEvaluated = std::move(onEvaluated);
    service->check(
        apps, std::make_shared<std::vector<ScanIssue>>(issues), trigger,
        [&](auto updates) {
            result = std::move(updates);
            queue.quit();
        },
        std::move(listener));
    queue.run();
    return finish(std::move(result));
}

std::optional<UpdateCheckService::Matches> CatalogRun::match(const std::vector<InstalledApp>& apps) {
    std::expected<UpdateCheckService::Matches, UpdateCheckError> result;
    service->match(
        apps,
        [&](auto matches) {
            result = std::move(matches);
            queue.quit();
        },
        observer());
    queue.run();
    return finish(std::move(result));
}

CheckObserver CatalogRun::observer() {
    progress.waitFor("Waiting for the catalog");
    return {
        .onChunk =
            [this](auto index, auto count) {
                progress.waitFor("Asking the catalog: " + std::to_string(index + 1) + " of " +
                                 std::to_string(count));
            },
        .onAnswer =
            [this](auto index, auto lostEntries) {
                if (lostEntries > 0) unansweredChunks.insert(index);
                lost += lostEntries;
            },
        .onChunkFailed =
            [this](auto index, const RequestError& error) {
                unansweredChunks.insert(index);
                head.notePartial("Some requests to the catalog failed: " + catalogFailure(error).sentence);
            },
        .onEvaluated = {}};
}

template <typename Result>
std::optional<Result> CatalogRun::finish(std::expected<Result, UpdateCheckError> result) {
    progress.clear();
    if (!result) {
        const auto failure = catalogFailure(result.error());
        head.noteFailure(failure.sentence, failure.status);
        logger.log(description(result.error()));
        return std::nullopt;
    }
    if (lost > 0) {
        head.notePartial(std::to_string(lost) + (lost == 1 ? " entry" : " entries") +
                         " of the catalog's answer " + (lost == 1 ? "was" : "were") + " not understood.");
    }
    return std::move(*result);
}

bool CatalogRun::isAnswered(std::size_t app) const {
    return !unansweredChunks.contains(app / chunkSize);
}

void CatalogRun::waitForLastRequests() {
    constexpr std::chrono::seconds silence{1};
    constexpr std::chrono::seconds rest{4};
    if (session.finish(silence)) return;
    progress.waitFor("Waiting for the catalog to take the last message");
    progress.show();
    session.finish(rest);
    progress.clear();
}

void sayWhereNothingIsKept(const CommandLine& line) {
    const auto storage = storageOf(line);
    const auto& folder = storage.appSupportURL;
    if (access(folder.c_str(), W_OK | X_OK) == 0 && std::filesystem::is_directory(folder)) return;
    const bool isRegistered = InstanceStore(storage).load().has_value();
    console::say(
        "Nothing can be kept in " + folder.string() + ": " +
        (isRegistered ? "" : "the catalog is asked to register this installation at every check, and ") +
        "no version can be ignored.");
}

}  // namespace quorvel
