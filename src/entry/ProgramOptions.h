#pragma once

#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "api/Environment.h"
#include "persistence/PersistenceManager.h"
#include "platform/CommandOptions.h"

namespace quorvel {

/// What a start of the status-item program can be given on every system.
struct ProgramOptions {
    std::optional<std::string> systemRoot, catalog, dataFolder;
    bool version = false;
    bool help = false;

    std::vector<CommandOption> readers();

    /// The folders as absolute paths, since a start at login has another working directory.
    void makeAbsolute();
};

/// What the options decide.
struct ProgramSetup {
    std::vector<std::filesystem::path> scanRoots;
    std::string catalogURL;
    Environment environment;
    PersistenceManager persistence;
};

/// A sentence refuses a catalog.
std::expected<ProgramSetup, std::string> setUp(const ProgramOptions& options);

/// Each returns the process's exit status: after wrong usage, and after printing `text`.
int refuse(const std::string& problem);
int print(const std::string& text);
int printVersion();

}  // namespace quorvel
