#include "cli/Inventory.h"

#include <algorithm>
#include <filesystem>

#include "platform/ProgramInfo.h"
#include "platform/text/Text.h"
#include "scanner/AppScannerService.h"

namespace quorvel {

namespace {

std::vector<std::filesystem::path> foldersOf(const CommandLine& line) {
    if (!line.roots.empty()) return line.roots;
    return line.systemRoot ? AppScannerService::rootsOfVolume(*line.systemRoot)
                           : AppScannerService::standardRoots();
}

ScanIssue unreadable(const std::string& folder) {
    return {std::filesystem::path(folder).filename().string(), folder, unreadableFolder};
}

/// Brings a list into the order of its paths, each once.
template <typename Entry>
void sortUnique(std::vector<Entry>& list) {
    std::ranges::stable_sort(list, {}, &Entry::path);
    const auto repeated = std::ranges::unique(list, {}, &Entry::path);
    list.erase(repeated.begin(), repeated.end());
}

}  // namespace

Inventory scanInventory(const CommandLine& line) {
    const auto roots = foldersOf(line);
    Inventory inventory;
    for (const auto& root : roots)
        inventory.folders.push_back(text::repairedUtf8(root.string()));
    ScanCoverage coverage;
    const AppScannerService scanner(roots, thisProgram().bundleIdentifier);
    inventory.apps = scanner.scan(inventory.issues, coverage);
    inventory.hasFolder = coverage.rootsRead > 0;
    for (const auto& folder : coverage.unreadableFolders)
        inventory.folderIssues.push_back(unreadable(folder));
    // A Mac without a folder of its user's own is nothing to speak of; a folder that somebody named is.
    if (!line.roots.empty()) {
        for (const auto& folder : coverage.missingRoots)
            inventory.folderIssues.push_back(unreadable(text::repairedUtf8(folder.string())));
    }
    sortUnique(inventory.apps);
    sortUnique(inventory.issues);
    sortUnique(inventory.folderIssues);
    return inventory;
}

std::string lackOfFolders(const Inventory& inventory) {
    return "There is no folder to look into: " + enumeration(inventory.folders) +
           (inventory.folders.size() == 1 ? " is" : " are") +
           " not there or cannot be read. Name one with --root DIR, or the volume of a Mac with "
           "--system-root DIR.";
}

std::string enumeration(const std::vector<std::string>& words) {
    std::string text;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (index > 0) text += index + 1 == words.size() ? " and " : ", ";
        text += words[index];
    }
    return text;
}

}  // namespace quorvel
