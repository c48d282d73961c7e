#pragma once

#include <filesystem>
#include <string>

namespace quorvel {

/// A bundle's icon, still in its bundle: nothing is decoded until it is shown, at 16 by 16 points.
struct BundleIcon {
    std::filesystem::path bundle;
};

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
