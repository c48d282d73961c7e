#pragma once

#include <string>
#include <vector>

#include "entry/ProgramOptions.h"

namespace quorvel {

/// What the command line decides.
struct DesktopConfiguration : ProgramSetup {
    /// What a start at login is given.
    std::vector<std::string> optionsAtLogin;
};

/// What a start can ask for, of itself or of the instance that runs already; an empty name asks for nothing
/// special.
bool isDesktopAction(const std::string& action);

/// Runs the status-item program until it is asked to quit, and returns the process's exit status.
int runDesktopProgram(const DesktopConfiguration& configuration, const std::string& action);

}  // namespace quorvel
