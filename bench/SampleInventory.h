#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "api/Records.h"
#include "scanner/InstalledApp.h"

namespace quorvel {

/// Applications as a busy machine has them, with names in no order.
inline std::vector<InstalledApp> sampleInventory(std::size_t count) {
    std::vector<InstalledApp> apps;
    apps.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        const auto number = std::to_string(index * 7919 % count);
        const std::string path = "/Applications/Sample Application " + number + ".app";
        apps.push_back({.name = "Sample Application " + number,
                        .bundleID = "com.example.vendor.application-" + number,
                        .version = "12.4." + std::to_string(index % 40),
                        .path = path,
                        .icon = {path}});
    }
    return apps;
}

/// What a catalog says that knows four in five of them, a tenth of those in a newer version.
inline std::vector<AutoMatchResult> sampleResults(const std::vector<InstalledApp>& inventory) {
    std::vector<AutoMatchResult> results;
    for (std::size_t index = 0; index < inventory.size(); ++index) {
        if (index % 5 == 0) continue;
        const auto& app = inventory[index];
        results.push_back({.id = static_cast<std::int64_t>(index),
                           .title = app.name,
                           .version = index % 10 == 1 ? "13.0" : app.version,
                           .bundleIdentifiers = {app.bundleID},
                           .minimumOSVersion = "12.0"});
    }
    return results;
}

}  // namespace quorvel
