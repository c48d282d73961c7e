#pragma once

#include <utility>
#include <vector>

#include "scanner/AppScannerServiceProtocol.h"

namespace quorvel {

/// Finds what the test put on the disk that it has not.
class FixedScanner final : public AppScannerServiceProtocol {
public:
    explicit FixedScanner(std::vector<InstalledApp> apps = {}, std::vector<ScanIssue> found = {})
        : apps(std::move(apps)), found(std::move(found)) {}

    std::vector<InstalledApp> scan(std::vector<ScanIssue>& issues) const override {
        issues.insert(issues.end(), found.begin(), found.end());
        return apps;
    }

    std::vector<InstalledApp> apps;
    std::vector<ScanIssue> found;
};

}  // namespace quorvel
