#pragma once

#include <chrono>
#include <memory>

#include "check/UpdateCheckService.h"
#include "cli/CommandLine.h"
#include "persistence/PersistenceManager.h"
#include "platform/HttpSession.h"
#include "platform/Queue.h"

namespace quorvel {

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
