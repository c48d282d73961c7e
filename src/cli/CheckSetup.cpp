#include "cli/CheckSetup.h"

#include "api/OrbistoAPIService.h"
#include "platform/ProgramInfo.h"
#include "platform/System.h"
#include "versions/VersionComparator.h"

namespace quorvel {

namespace {

Environment environmentOf(const CommandLine& line) {
    return {.program = thisProgram(), .os = line.system.version};
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

}  // namespace quorvel
