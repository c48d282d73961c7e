#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <unistd.h>

#include "check/Chunks.h"
#include "cli/CatalogFailure.h"
#include "cli/CheckSetup.h"
#include "cli/Commands.h"
#include "cli/Report.h"
#include "platform/posix/TaskQueue.h"
#include "platform/posix/http/CurlSession.h"

namespace quorvel {

namespace {

/// What a check begins with, and all that there is to say when nothing can be checked.
CheckReport beginReport(const CommandLine& line) {
    CheckReport report;
    report.checkedAt = std::chrono::system_clock::now();
    report.catalog = line.catalog;
    report.system = line.system;
    report.inventory = scanInventory(line);
    if (!report.inventory.hasFolder) {
        report.outcome = CheckReport::Outcome::failed;
        report.status = ExitStatus::nothingScanned;
        report.error = lackOfFolders(report.inventory);
    } else if (!report.inventory.folderIssues.empty()) {
        report.outcome = CheckReport::Outcome::partial;
        report.status = ExitStatus::partial;
        report.error = "Could not read the folder " + report.inventory.folderIssues.front().path + ".";
    }
    return report;
}

/// Runs one check and gathers its events.
class Check {
public:
    Check(const CommandLine& line, TaskQueue& queue, HttpSession& session, Progress& progress,
          CheckReport& report)
        : queue(queue),
          progress(progress),
          report(report),
          logger(storageOf(line)),
          service(makeCheckService(line, storageOf(line), queue, session, interChunkDelay)) {}

    void run() {
        progress.waitFor("Waiting for the catalog");
        service->check(
            report.inventory.apps, std::make_shared<std::vector<ScanIssue>>(report.inventory.issues),
            "manual", [this](auto result) { finish(std::move(result)); }, observer());
        queue.run();
        progress.clear();
    }

private:
    CheckObserver observer() {
        return {.onChunk =
                    [this](auto index, auto count) {
                        progress.waitFor("Asking the catalog: " + std::to_string(index + 1) + " of " +
                                         std::to_string(count));
                    },
                .onAnswer =
                    [this](auto index, auto lostEntries) {
                        if (lostEntries > 0) noteUnanswered(index);
                        lost += lostEntries;
                    },
                .onChunkFailed =
                    [this](auto index, const RequestError& error) {
                        noteUnanswered(index);
                        notePartial("Some requests to the catalog failed: " + catalogFailure(error).sentence);
                    },
                .onEvaluated = [this](const MatchEvaluation& evaluation) { addSkipped(evaluation); }};
    }

    void notePartial(std::string error) {
        report.outcome = CheckReport::Outcome::partial;
        if (!report.error) report.error = std::move(error);
    }

    void noteUnanswered(std::size_t index) {
        for (const auto& app : chunk(report.inventory.apps, index))
            unanswered.insert(app.path);
    }

    /// The catalog's not knowing an application is its answer; where an answer is missing, that is not known.
    void addSkipped(const MatchEvaluation& evaluation) {
        for (const auto& app : evaluation.skipped)
            report.skipped.push_back(
                {app, app.code != SkipCode::notRecognised || !unanswered.contains(app.path)});
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
            const auto failure = catalogFailure(result.error());
            report.outcome = CheckReport::Outcome::failed;
            report.error = failure.sentence;
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

    TaskQueue& queue;
    Progress& progress;
    CheckReport& report;
    const ErrorLogger logger;
    const std::shared_ptr<UpdateCheckService> service;
    /// The paths of applications for which the catalog gave no answer that could be read whole.
    std::set<std::string, std::less<>> unanswered;
    std::size_t lost = 0;
};

/// Said once and before the check, which then registers a new installation.
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

ExitStatus printReport(const CheckReport& report, const CommandLine& line) {
    if (report.error) sayFailure({*report.error, report.status}, line.catalog);
    const Terminal terminal = describeTerminal(STDOUT_FILENO);
    return console::print(line.json ? jsonReport(report, terminal) : tableReport(report, line.all, terminal));
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

}  // namespace

ExitStatus checkApplications(const CommandLine& line) {
    CheckReport report = beginReport(line);
    TaskQueue queue;
    Progress progress(queue, describeTerminal(STDERR_FILENO), stderr);
    CurlSession session;
    if (!report.inventory.apps.empty()) {
        sayWhereNothingIsKept(line);
        Check(line, queue, session, progress, report).run();
    } else if (report.inventory.hasFolder) {
        ErrorLogger(storageOf(line)).log("Scanner found 0 apps — skipping API call");
    }
    const auto printed = printReport(report, line);
    waitForLastRequests(session, progress);
    if (printed == ExitStatus::unexpected) return printed;
    return line.exitZero && report.status == ExitStatus::newer ? ExitStatus::nothingNewer : report.status;
}

}  // namespace quorvel
