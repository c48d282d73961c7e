#pragma once

#include <string>

#include "cli/CheckReport.h"
#include "cli/CommandLine.h"

/// What the command does for one application in place of a check. None of it registers this installation or
/// sends a tracking event; the catalog is asked for that application alone.
namespace quorvel {

/// Prints how each application of that name (in any letter case) or bundle identifier came to its outcome.
ExitStatus explainApplication(const CommandLine& line, const std::string& nameOrIdentifier);

/// Ignores the version that the catalog offers for the application, as the status item's menu does.
ExitStatus ignoreOfferedVersion(const CommandLine& line, const std::string& bundleIdentifier);

/// Takes that back. Asks nobody.
ExitStatus unignore(const CommandLine& line, const std::string& bundleIdentifier);

}  // namespace quorvel
