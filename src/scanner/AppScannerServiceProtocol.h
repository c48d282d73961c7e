#pragma once

#include <vector>

#include "scanner/InstalledApp.h"
#include "scanner/ScanIssue.h"

namespace quorvel {

class AppScannerServiceProtocol {
public:
    virtual ~AppScannerServiceProtocol() = default;

    /// Finds the installed applications, in the order of the roots; appends to `issues` each bundle that
    /// could not be listed. Blocks for the length of the walk. Any thread.
    virtual std::vector<InstalledApp> scan(std::vector<ScanIssue>& issues) const = 0;
};

}  // namespace quorvel
