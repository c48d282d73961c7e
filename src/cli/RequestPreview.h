#pragma once

#include "cli/CheckReport.h"
#include "cli/CommandLine.h"

namespace quorvel {

/// Prints every request that a first check of the inventory sends, unless this installation is registered,
/// and every one of a later check, with the credentials masked. Nothing is sent and nothing is stored.
ExitStatus showRequests(const CommandLine& line);

}  // namespace quorvel
