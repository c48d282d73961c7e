#pragma once

#include <chrono>
#include <memory>

#include "api/Environment.h"
#include "check/UpdateCheckService.h"
#include "cli/CommandLine.h"
#include "persistence/PersistenceManager.h"
#include "platform/HttpSession.h"
#include "platform/OperatingSystem.h"
#include "platform/Queue.h"

namespace quorvel {

/// The macOS version that decides which newer versions can run.
struct RunningSystem {
    enum class Source {
        given,   ///< on the command line
        system,  ///< by the volume's own system folder
        assumed  ///< by nobody
    };

    OSVersion version;
    Source source = Source::assumed;
};

RunningSystem runningSystem(const CommandLine& line);

PersistenceManager storageOf(const CommandLine& line);

/// A client of the catalog that the command line names. What is held by reference outlives it.
std::unique_ptr<OrbistoAPIServiceProtocol> makeClient(const CommandLine& line, Queue& queue,
                                                      HttpSession& session);

/// A service for inventories that are handed to it; it scans nothing itself.
std::shared_ptr<UpdateCheckService> makeCheckService(const CommandLine& line,
                                                     const PersistenceManager& storage, Queue& queue,
                                                     HttpSession& session,
                                                     std::chrono::milliseconds pauseBetweenChunks);

}  // namespace quorvel
