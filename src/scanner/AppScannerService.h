#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "scanner/AppScannerServiceProtocol.h"

namespace quorvel {

/// What a scan read and what it could not, so that an empty result is not taken for an empty disk.
struct ScanCoverage {
    /// How many of the roots were read.
    std::size_t rootsRead = 0;
    /// The roots at which there is nothing.
    std::vector<std::filesystem::path> missingRoots;
    /// Roots, and folders inside them, that could not be read. Texts are valid UTF-8.
    std::vector<std::string> unreadableFolders;
};

/// Walks the application folders and reads each bundle's identity and version. Keeps nothing between calls.
class AppScannerService final : public AppScannerServiceProtocol {
public:
    /// `ownBundleIdentifier`: the bundle that is left out of every result, when it is known.
    AppScannerService(std::vector<std::filesystem::path> roots,
                      std::optional<std::string> ownBundleIdentifier);

    /// "/Applications", the user's own "Applications" folder, "/System/Applications".
    static std::vector<std::filesystem::path> standardRoots();

    /// Those of the macOS volume mounted at `systemRoot`, with every user's own "Applications" folder.
    static std::vector<std::filesystem::path> rootsOfVolume(const std::filesystem::path& systemRoot);

    std::vector<InstalledApp> scan(std::vector<ScanIssue>& issues) const override;
    std::vector<InstalledApp> scan(std::vector<ScanIssue>& issues, ScanCoverage& coverage) const;

private:
    const std::vector<std::filesystem::path> roots;
    const std::optional<std::string> ownBundleIdentifier;
};

}  // namespace quorvel
