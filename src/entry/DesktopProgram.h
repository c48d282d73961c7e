#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "api/Environment.h"
#include "persistence/PersistenceManager.h"

namespace quorvel {

/// What differs between the product and its demonstration.
struct DesktopConfiguration {
    /// Which instances are one and the same program to the session, as a name on its bus.
    std::string busName;
    std::vector<std::filesystem::path> scanRoots;
    std::string catalogURL;
    Environment environment;
    const PersistenceManager& persistence;
    /// The network is taken to be there.
    bool skipMonitoring = false;
    /// Between two checks that nobody asked for.
    std::chrono::milliseconds backgroundInterval = std::chrono::hours(6);
};

/// What a start can ask for, of itself or of the instance that runs already; an empty name asks for nothing
/// special.
bool isDesktopAction(const std::string& action);

/// Runs the status-item program until it is told to quit, and returns the process's exit status.
int runDesktopProgram(const DesktopConfiguration& configuration, const std::string& action);

}  // namespace quorvel
