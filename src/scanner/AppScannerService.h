#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "scanner/AppScannerServiceProtocol.h"

namespace quorvel {

/// Walks the application folders and reads each bundle's identity and version. Keeps nothing between calls.
class AppScannerService final : public AppScannerServiceProtocol {
public:
    /// `ownBundleIdentifier`: the bundle that is left out of every result, when it is known.
    AppScannerService(std::vector<std::filesystem::path> roots,
                      std::optional<std::string> ownBundleIdentifier);

    /// "/Applications", the user's own "Applications" folder, "/System/Applications".
    static std::vector<std::filesystem::path> standardRoots();

    std::vector<InstalledApp> scan(std::vector<ScanIssue>& issues) const override;

private:
    const std::vector<std::filesystem::path> roots;
    const std::optional<std::string> ownBundleIdentifier;
};

}  // namespace quorvel
