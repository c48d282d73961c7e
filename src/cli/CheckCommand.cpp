#include "cli/CheckCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CheckReport.h"
#include "cli/Inventory.h"
#include "cli/JsonReport.h"
#include "cli/OneApplication.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/RequestPreview.h"
#include "cli/TableReport.h"
#include "cli/Terminal.h"
#include "platform/linux/EventQueue.h"
#include "platform/posix/http/CurlSession.h"

namespace quorvel {

namespace {

/// What a check of the inventory begins with, and all that there is to say when nothing can be checked.
CheckReport reportOn(const Inventory& inventory, const CommandLine& line) {
    CheckReport report;
    report.checkedAt = std::chrono::system_clock::now();
    report.catalog = line.catalog;
    report.system = runningSystem(line);
    report.folders = inventory.folders;
    report.apps = inventory.apps.size();
    report.issues = inventory.issues;
    report.folderIssues = inventory.folderIssues;
    if (!inventory.hasFolder) {
        report.outcome = CheckReport::Outcome::failed;
        report.status = ExitStatus::nothingScanned;
        report.error = lackOfFolders(inventory);
    } else if (!inventory.folderIssues.empty()) {
        report.outcome = CheckReport::Outcome::partial;
        report.status = ExitStatus::partial;
        report.error = "Could not read the folder " + inventory.folderIssues.front().path + ".";
    }
    return report;
}

/// Runs one check and gathers what it tells.
class Check {
public:
    Check(const CommandLine& line, EventQueue& queue, HttpSession& session, Progress& progress)
        : queue(queue),
          progress(progress),
          logger(storageOf(line)),
          service(makeCheckService(line, storageOf(line), queue, session, interChunkDelay)) {}

    CheckReport run(const Inventory& inventory, CheckReport begun) {
        report = std::move(begun);
        isAnswered.assign(chunkCount(inventory.apps.size()), true);
        for (std::size_t index = 0; index < isAnswered.size(); ++index) {
            for (const auto& app : chunk(inventory.apps, index))
                chunkOfPath.emplace(app.path, index);
        }
        progress.waitFor("Waiting for the catalog");
        service->check(
            inventory.apps, std::make_shared<std::vector<ScanIssue>>(inventory.issues), "manual",
            [this](auto result) { finish(std::move(result)); }, observer());
        queue.run();
        progress.clear();
        return std::move(report);
    }

private:
    CheckObserver observer() {
        return {.onChunk =
                    [this](auto index, auto count) {
                        progress.waitFor("Asking the catalog: " + std::to_string(index + 1) + " of " +
                                         std::to_string(count));
                    },
                .onAnswer = [this](auto index, auto lostEntries) { takeLostEntries(index, lostEntries); },
                .onChunkFailed =
                    [this](auto index, const RequestError& error) {
                        isAnswered[index] = false;
                        notePartial("Some requests to the catalog failed: " + catalogFailure(error).sentence);
                    },
                .onEvaluated = [this](const MatchEvaluation& evaluation) { takeSkipped(evaluation); }};
    }

    void notePartial(std::string error) {
        report.outcome = CheckReport::Outcome::partial;
        if (!report.error) report.error = std::move(error);
    }

    void takeLostEntries(std::size_t index, std::size_t lostEntries) {
        if (lostEntries == 0) return;
        isAnswered[index] = false;
        lost += lostEntries;
    }

    /// The catalog's not knowing an application is its answer; where an answer is missing, that is not known.
    void takeSkipped(const MatchEvaluation& evaluation) {
        for (const auto& app : evaluation.skipped) {
            const bool answered = app.code != SkipCode::notRecognised || isAnswered[chunkOfPath.at(app.path)];
            report.skipped.push_back({app, answered});
        }
    }

    void finish(std::expected<UpdateCheckService::Updates, UpdateCheckError> result) {
        if (result) {
            if (lost > 0) {
                notePartial(std::to_string(lost) + (lost == 1 ? " entry" : " entries") +
                            " of the catalog's answer " + (lost == 1 ? "was" : "were") + " not understood.");
            }
            report.updates = std::move(*result);
            report.status = statusOfSuccess();
        } else {
            report.outcome = CheckReport::Outcome::failed;
            auto failure = catalogFailure(result.error());
            report.error = std::move(failure.sentence);
            report.status = failure.status;
            report.skipped.clear();
            logger.log(description(result.error()));
        }
        queue.quit();
    }

    ExitStatus statusOfSuccess() const {
        if (report.outcome == CheckReport::Outcome::partial) return ExitStatus::partial;
        const bool newer = std::ranges::count(report.updates, false, &AppUpdate::isIgnored) > 0;
        return newer ? ExitStatus::newer : ExitStatus::nothingNewer;
    }

    EventQueue& queue;
    Progress& progress;
    const ErrorLogger logger;
    const std::shared_ptr<UpdateCheckService> service;
    CheckReport report;
    /// By chunk: whether the catalog gave an answer that could be read whole.
    std::vector<bool> isAnswered;
    std::map<std::string, std::size_t, std::less<>> chunkOfPath;
    std::size_t lost = 0;
};

/// Said once and before the check, which then tells the catalog of a new installation.
void sayWhereNothingIsKept(const CommandLine& line) {
    const auto storage = storageOf(line);
    const auto& folder = storage.appSupportURL;
    if (access(folder.c_str(), W_OK | X_OK) == 0 && std::filesystem::is_directory(folder)) return;
    const bool isRegistered = InstanceStore(storage).load().has_value();
    output::say(
        "Nothing can be kept in " + folder.string() + ": " +
        (isRegistered ? "" : "the catalog is asked to register this installation at every check, and ") +
        "no version can be ignored.");
}

bool printReport(const CheckReport& report, const CommandLine& line) {
    if (report.error) sayFailure({*report.error, report.status}, line.catalog);
    const Terminal terminal = describeTerminal(STDOUT_FILENO);
    return output::print(line.json ? jsonReport(report, terminal) : tableReport(report, line.all, terminal));
}

/// Tracking requests may still be under way when everything has been printed.
void waitForLastRequests(CurlSession& session, Progress& progress) {
    constexpr std::chrono::seconds silence{1};
    constexpr std::chrono::seconds rest{4};
    if (session.finish(silence)) return;
    progress.waitFor("Waiting for the catalog to take the last message");
    progress.show();
    session.finish(rest);
    progress.clear();
}

ExitStatus check(const CommandLine& line) {
    const Inventory inventory = takeInventory(line);
    CheckReport report = reportOn(inventory, line);
    EventQueue queue;
    Progress progress(queue, describeTerminal(STDERR_FILENO), stderr);
    CurlSession session;
    if (inventory.apps.empty()) {
        if (inventory.hasFolder) ErrorLogger(storageOf(line)).log("Scanner found 0 apps — skipping API call");
    } else {
        sayWhereNothingIsKept(line);
        report = Check(line, queue, session, progress).run(inventory, std::move(report));
    }
    const bool isPrinted = printReport(report, line);
    waitForLastRequests(session, progress);
    if (!isPrinted) return ExitStatus::unexpected;
    return line.exitZero && report.status == ExitStatus::newer ? ExitStatus::nothingNewer : report.status;
}

}  // namespace

ExitStatus runCheckCommand(const CommandLine& line) {
    if (line.showRequest) return showRequests(line);
    if (line.explain) return explainApplication(line, *line.explain);
    if (line.ignore) return ignoreOfferedVersion(line, *line.ignore);
    if (line.unignore) return unignore(line, *line.unignore);
    return check(line);
}

}  // namespace quorvel
