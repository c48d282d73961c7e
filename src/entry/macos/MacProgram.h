#pragma once

#include <memory>

#include "entry/ProgramOptions.h"
#include "platform/Desktop.h"
#include "platform/PathMonitor.h"

namespace quorvel {

/// What the command line decides, and what the system has no counterpart for elsewhere.
struct MacConfiguration : ProgramSetup {
    std::string locale;
    std::unique_ptr<PathMonitor> pathMonitor;
    LoginItem& loginItem;
};

/// Runs the status-item program until it is asked to quit, which ends the process.
void runMacProgram(MacConfiguration configuration);

}  // namespace quorvel
