#pragma once

#include <string>

namespace quorvel {

/// A bundle that could not be listed. `reason` is "could not read bundle" or "no version".
struct ScanIssue {
    std::string appName;
    std::string path;
    std::string reason;
};

}  // namespace quorvel
