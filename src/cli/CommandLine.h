#pragma once

#include <chrono>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/OperatingSystem.h"

namespace quorvel {

/// The macOS version that decides which newer versions can run.
struct RunningSystem {
    enum class Source {
        given,      ///< on the command line
        system,     ///< by the volume's own system folder
        inventory,  ///< by the host's
        assumed,    ///< by nobody
        unknown     ///< of a host whose inventory does not say
    };

    OSVersion version = newestKnownRelease;
    Source source = Source::assumed;
};

/// What the user asked for on the command line of quorvel-check.
struct CommandLine {
    std::vector<std::filesystem::path> roots;
    std::optional<std::filesystem::path> systemRoot;
    /// Files and folders, "-" for standard input; in place of this Mac's folders.
    std::vector<std::filesystem::path> inventories;
    /// Of the inventories' hosts, those that are asked for; all when empty.
    std::vector<std::string> hosts;
    std::string catalog;
    std::optional<std::filesystem::path> dataFolder;
    RunningSystem system;
    std::chrono::seconds timeout{60};
    bool all = false;
    bool json = false;
    bool jsonLines = false;
    std::optional<std::filesystem::path> prometheus;
    bool showRequest = false;
    bool exitZero = false;
    bool version = false;
    bool help = false;
    /// In place of a check; one of these, or `showRequest`, at the most.
    std::optional<std::string> explain;
    std::optional<std::string> ignore;
    std::optional<std::string> unignore;
};

/// The arguments without the program's name; a sentence that says what is wrong with them.
std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments);

extern const char* const usageText;

}  // namespace quorvel
