#pragma once

#include "cli/CommandLine.h"
#include "cli/Console.h"

/// What quorvel-check does. Each prints how it went.
namespace quorvel {

/// One check of all applications.
ExitStatus checkApplications(const CommandLine& line);

/// One check of all hosts whose inventories the command line names.
ExitStatus checkFleet(const CommandLine& line);

/// The rest stands in place of a check. None of it registers this installation or sends a tracking event; the
/// catalog is asked for one application alone, if at all.

/// Prints how each application of that name (in any letter case) or bundle identifier came to its outcome.
ExitStatus explainApplication(const CommandLine& line, const std::string& nameOrIdentifier);

/// Ignores the version that the catalog offers for the application, as the status item's menu does.
ExitStatus ignoreOfferedVersion(const CommandLine& line, const std::string& bundleIdentifier);

/// Takes that back. Asks nobody.
ExitStatus unignore(const CommandLine& line, const std::string& bundleIdentifier);

/// Prints every request that a first check of the inventory sends, unless this installation is registered,
/// and every one of a later check, with the credentials masked. Nothing is sent and nothing is stored.
ExitStatus showRequests(const CommandLine& line);
ExitStatus showFleetRequests(const CommandLine& line);

}  // namespace quorvel
