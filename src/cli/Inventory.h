#pragma once

#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "scanner/InstalledApp.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

/// What stands in the folders that the command line names, each bundle once, however many of the folders hold
/// it. Lists are in the order of paths, so that the same tree gives the same answer on every machine.
struct Inventory {
    std::vector<std::string> folders;
    /// Whether at least one of the folders could be read.
    bool hasFolder = false;
    std::vector<InstalledApp> apps;
    /// Bundles that could not be listed.
    std::vector<ScanIssue> issues;
    /// Folders that could not be read, and those that were asked for and are not there.
    std::vector<ScanIssue> folderIssues;
};

/// The reason of a folder's issue.
inline constexpr const char* unreadableFolder = "could not read folder";

Inventory scanInventory(const CommandLine& line);

/// Of an inventory without a folder: what is missing, and what to do.
std::string lackOfFolders(const Inventory& inventory);

/// "a", "a and b", "a, b and c".
std::string enumeration(const std::vector<std::string>& words);

}  // namespace quorvel
