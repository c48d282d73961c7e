#include "cli/CheckCommand.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string_view>
#include <unistd.h>

#include "api/OrbistoAPIService.h"
#include "check/UpdateCheckService.h"
#include "cli/CheckReport.h"
#include "cli/JsonReport.h"
#include "cli/RequestPreview.h"
#include "cli/TableReport.h"
#include "cli/Terminal.h"
#include "platform/linux/CurlSession.h"
#include "platform/linux/EventQueue.h"
#include "scanner/AppScannerService.h"
#include "versions/VersionComparator.h"

namespace quorvel {

namespace {

using Status = CheckReport::Status;

/// How long the program waits, once it has printed, for tracking requests that are still under way.
constexpr std::chrono::seconds farewell{5};
constexpr std::chrono::milliseconds pauseBetweenChunks{250};

std::vector<std::filesystem::path> userApplicationFolders(const std::filesystem::path& systemRoot) {
    std::vector<std::filesystem::path> folders;
    std::error_code error;
    for (std::filesystem::directory_iterator user(systemRoot / "Users", error), end; !error && user != end;
         user.increment(error)) {
        folders.push_back(user->path() / "Applications");
    }
    std::ranges::sort(folders);
    return folders;
}

std::vector<std::filesystem::path> applicationFolders(const CommandLine& line) {
    if (!line.roots.empty()) return line.roots;
    if (!line.systemRoot) return AppScannerService::standardRoots();
    auto roots = userApplicationFolders(*line.systemRoot);
    roots.insert(roots.begin(), *line.systemRoot / "Applications");
    roots.push_back(*line.systemRoot / "System/Applications");
    return roots;
}

Environment environmentOf(const CommandLine& line) {
    return {.program = thisProgram(),
            .os = line.osVersion ? *line.osVersion : installedOSVersion(line.systemRoot.value_or("/"))};
}

PersistenceManager storageOf(const CommandLine& line) {
    return line.dataFolder ? PersistenceManager::at(*line.dataFolder) : PersistenceManager();
}

std::unique_ptr<AppScannerService> scannerOf(const CommandLine& line) {
    return std::make_unique<AppScannerService>(applicationFolders(line), thisProgram().bundleIdentifier);
}

Status statusOf(const SessionError& error) {
    switch (error.code) {
        case SessionError::Code::badServerResponse:
        case SessionError::Code::dataLengthExceedsMaximum:
            return Status::refused;
        case SessionError::Code::badURL:
            return Status::unexpected;
        default:
            return Status::notReached;
    }
}
Status statusOf(const EncodingError&) {
    return Status::unexpected;
}
Status statusOf(const OrbistoAPIError&) {
    return Status::refused;
}

Status statusOf(const UpdateCheckError::ApiFailed& error) {
    return std::visit([](const auto& underlying) { return statusOf(underlying); }, error.underlying);
}
Status statusOf(const UpdateCheckError::IpBlocked&) {
    return Status::refused;
}
Status statusOf(const UpdateCheckError::NoInternet&) {
    return Status::notReached;
}

/// Shows on a terminal how far the check has come, and takes that away again.
class Progress {
public:
    ~Progress() { clear(); }

    void show(std::size_t index, std::size_t count) {
        if (!terminal.isTerminal || count < 2) return;
        std::fprintf(stderr, "\r\x1b[KAsking the catalog: %zu of %zu", index + 1, count);
        shown = true;
    }

    void clear() {
        if (shown) std::fputs("\r\x1b[K", stderr);
        shown = false;
    }

private:
    const Terminal terminal = describeTerminal(STDERR_FILENO);
    bool shown = false;
};

/// Runs one check and gathers what it tells.
class Check {
public:
    Check(const CommandLine& line, EventQueue& queue, HttpSession& session)
        : queue(queue), logger(storageOf(line)), service(makeService(line, queue, session)) {
        report.os = environmentOf(line).os;
    }

    CheckReport run() {
        service->scanAndCheck("manual", [this](auto result) { finish(std::move(result)); }, observer());
        queue.run();
        progress.clear();
        return std::move(report);
    }

private:
    static std::shared_ptr<UpdateCheckService> makeService(const CommandLine& line, EventQueue& queue,
                                                           HttpSession& session) {
        const auto storage = storageOf(line);
        const auto environment = environmentOf(line);
        return std::make_shared<UpdateCheckService>(UpdateCheckService::Parts{
            .scanner = scannerOf(line),
            .api = std::make_unique<OrbistoAPIService>(session, queue, environment, line.catalog),
            .versionComparator = std::make_unique<VersionComparator>(),
            .instanceStore = InstanceStore(storage),
            .firstRunStore = FirstRunStore(storage),
            .ignoredVersionsStore = IgnoredVersionsStore(storage),
            .errorLogger = ErrorLogger(storage),
            // Whoever types a command wants it tried; the request itself finds out whether there is a
            // connection.
            .connectivity = std::make_unique<ConnectivityService>(nullptr, /*skipMonitoring=*/true),
            .interChunkDelay = pauseBetweenChunks,
            .environment = environment,
            .mainQueue = queue});
    }

    CheckObserver observer() {
        return {.onScanned =
                    [this](auto inventory, auto issues) {
                        report.apps = inventory.size();
                        report.issues.assign(issues.begin(), issues.end());
                    },
                .onChunk = [this](auto index, auto count) { progress.show(index, count); },
                .onChunkFailed =
                    [this](const RequestError& error) {
                        if (!report.error) report.error = description(error);
                        report.outcome = CheckReport::Outcome::partial;
                    },
                .onEvaluated =
                    [this](const MatchEvaluation& evaluation) { report.skipped = evaluation.skipped; }};
    }

    void finish(std::expected<UpdateCheckService::Updates, UpdateCheckError> result) {
        if (result) {
            report.updates = std::move(*result);
            report.status = statusOfSuccess();
        } else {
            report.outcome = CheckReport::Outcome::failed;
            report.error = description(result.error());
            report.status = std::visit([](const auto& kind) { return statusOf(kind); }, result.error().kind);
            logger.log(*report.error);
        }
        queue.quit();
    }

    Status statusOfSuccess() const {
        if (report.outcome == CheckReport::Outcome::partial) return Status::partial;
        const bool newer = std::ranges::count(report.updates, false, &AppUpdate::isIgnored) > 0;
        return newer ? Status::newer : Status::nothingNewer;
    }

    EventQueue& queue;
    const ErrorLogger logger;
    const std::shared_ptr<UpdateCheckService> service;
    CheckReport report;
    Progress progress;
};

/// False when the text could not be written whole, to a full disk for example.
bool print(std::string_view text) {
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

bool printReport(const CheckReport& report, const CommandLine& line) {
    if (report.outcome == CheckReport::Outcome::partial) {
        std::fprintf(stderr, "quorvel-check: Some requests to the catalog failed: %s\n",
                     report.error->c_str());
    } else if (report.error) {
        std::fprintf(stderr, "quorvel-check: %s\n", report.error->c_str());
    }
    return print(line.json ? jsonReport(report)
                           : tableReport(report, line.all, describeTerminal(STDOUT_FILENO)));
}

int showRequests(const CommandLine& line) {
    std::vector<ScanIssue> issues;
    const auto inventory = scannerOf(line)->scan(issues);
    const bool registers = !InstanceStore(storageOf(line)).load();
    const bool printed = print(requestPreview(inventory, registers, environmentOf(line), line.catalog));
    return printed ? 0 : static_cast<int>(Status::unexpected);
}

}  // namespace

int runCheckCommand(const CommandLine& line) {
    if (line.showRequest) return showRequests(line);
    EventQueue queue;
    CurlSession session;
    const CheckReport report = Check(line, queue, session).run();
    const bool printed = printReport(report, line);
    session.finish(farewell);
    if (!printed) return static_cast<int>(Status::unexpected);
    const bool asSuccess = line.exitZero && report.status == Status::newer;
    return asSuccess ? 0 : static_cast<int>(report.status);
}

}  // namespace quorvel
