#pragma once

#include <expected>
#include <optional>
#include <span>
#include <string>

#include "CatalogServer.h"
#include "Scenario.h"

namespace quorvel {

/// What the user asked for.
struct CommandLine {
    bool help = false;
    bool version = false;
    std::string dataFile;
    std::optional<std::string> recordFile;
    Scenario::Name scenario = Scenario::Name::none;
    CatalogServer::Options server;
};

/// `arguments` without the program's name. The error is a sentence.
std::expected<CommandLine, std::string> parseCommandLine(std::span<const char* const> arguments);

/// The text of --help.
std::string helpText();

}  // namespace quorvel
