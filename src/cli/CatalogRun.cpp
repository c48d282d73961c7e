#include "cli/CatalogRun.h"

#include <cstdio>
#include <expected>
#include <filesystem>
#include <unistd.h>
#include <utility>

#include "api/OrbistoAPIService.h"
#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "platform/ProgramInfo.h"
#include "platform/System.h"
#include "versions/VersionComparator.h"

namespace quorvel {

namespace {

Environment environmentOf(const CommandLine& line) {
    return {.program = thisProgram(), .os = line.system.version};
}

/// Said before a check, which then registers a new installation.
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

}  // namespace

PersistenceManager storageOf(const CommandLine& line) {
    return line.dataFolder ? PersistenceManager::at(*line.dataFolder)
                           : PersistenceManager::shared(applicationSupportFolder());
}

std::unique_ptr<OrbistoAPIServiceProtocol> makeClient(const CommandLine& line, Queue& queue,
                                                      HttpSession& session) {
    return std::make_unique<OrbistoAPIService>(session, queue, environmentOf(line), line.catalog,
                                               line.timeout);
}

std::shared_ptr<UpdateCheckService> makeCheckService(const CommandLine& line,
                                                     const PersistenceManager& storage, Queue& queue,
                                                     HttpSession& session,
                                                     std::chrono::milliseconds pauseBetweenChunks) {
    return std::make_shared<UpdateCheckService>(UpdateCheckService::Parts{
        .scanner = nullptr,
        .api = makeClient(line, queue, session),
        .versionComparator = std::make_unique<VersionComparator>(),
        .instanceStore = InstanceStore(storage),
        .firstRunStore = FirstRunStore(storage),
        .ignoredVersionsStore = IgnoredVersionsStore(storage),
        .errorLogger = ErrorLogger(storage),
        // Whoever types a command wants it tried; the request itself finds out whether there is a connection.
        .connectivity = std::make_unique<ConnectivityService>(nullptr, /*skipMonitoring=*/true),
        .interChunkDelay = pauseBetweenChunks,
        .environment = environmentOf(line),
        .mainQueue = queue,
        .locale = userLocale()});
}

CatalogRun::CatalogRun(const CommandLine& line, ReportHead& head)
    : line(line),
      head(head),
      progress(queue, describeTerminal(STDERR_FILENO), stderr),
      service(makeCheckService(line, storageOf(line), queue, session, interChunkDelay)) {}

MatchEvaluation CatalogRun::check(const std::vector<InstalledApp>& apps,
                                  const std::vector<ScanIssue>& issues) {
    MatchEvaluation evaluation;
    ask<UpdateCheckService::Updates>([&](auto completion) {
        auto listener = observer();
        listener.onEvaluated = [&](const MatchEvaluation& found) { evaluation = found; };
        service->check(apps, std::make_shared<std::vector<ScanIssue>>(issues), checkTrigger,
                       std::move(completion), std::move(listener));
    });
    return evaluation;
}

std::optional<UpdateCheckService::Matches> CatalogRun::match(const std::vector<InstalledApp>& apps) {
    return ask<UpdateCheckService::Matches>(
        [&](auto completion) { service->match(apps, std::move(completion), observer()); });
}

CheckObserver CatalogRun::observer() {
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

template <typename Result, typename Begin>
std::optional<Result> CatalogRun::ask(Begin begin) {
    sayWhereNothingIsKept(line);
    progress.waitFor("Waiting for the catalog");
    std::expected<Result, UpdateCheckError> result;
    begin([&](auto arrived) {
        result = std::move(arrived);
        queue.quit();
    });
    queue.run();
    progress.clear();
    if (!result) {
        const auto failure = catalogFailure(result.error());
        head.noteFailure(failure.sentence, failure.status);
        ErrorLogger(storageOf(line)).log(description(result.error()));
        return std::nullopt;
    }
    if (lost > 0) {
        head.notePartial(std::to_string(lost) + (lost == 1 ? " entry" : " entries") +
                         " of the catalog's answer " + (lost == 1 ? "was" : "were") + " not understood.");
    }
    return std::move(*result);
}

std::unordered_set<std::string> CatalogRun::unanswered(const std::vector<InstalledApp>& apps,
                                                       std::string InstalledApp::* field) const {
    std::unordered_set<std::string> found;
    for (const std::size_t index : unansweredChunks) {
        for (const auto& app : chunk(apps, index))
            found.insert(app.*field);
    }
    return found;
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

}  // namespace quorvel
