#pragma once

#include <cstdint>
#include <string>

#include "scanner/InstalledApp.h"

namespace quorvel {

/// One available update.
struct AppUpdate {
    InstalledApp app;
    /// The catalog's version, exactly as received.
    std::string latestVersion;
    /// The catalog's id of the application.
    std::int64_t obAppId = 0;
    /// The user ignores exactly this version of this application.
    bool isIgnored = false;
};

}  // namespace quorvel
