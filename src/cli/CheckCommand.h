#pragma once

#include "cli/CommandLine.h"

namespace quorvel {

/// Does what the command line asks for: checks, prints, and returns the program's exit status.
int runCheckCommand(const CommandLine& line);

}  // namespace quorvel
