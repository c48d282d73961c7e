#pragma once

#include "cli/CheckReport.h"
#include "cli/CommandLine.h"

namespace quorvel {

/// Does what the command line asks for, and prints how that went.
ExitStatus runCheckCommand(const CommandLine& line);

}  // namespace quorvel
