#pragma once

#include <filesystem>
#include <string>

#include "platform/BundleIcon.h"

namespace quorvel {

/// One application that the scanner found. Texts are valid UTF-8.
struct InstalledApp {
    std::string name;
    /// The bundle identifier; empty when the bundle names none.
    std::string bundleID;
    /// Never empty; as the bundle has it, untrimmed.
    std::string version;
    std::filesystem::path path;
    BundleIcon icon;
};

}  // namespace quorvel
