#pragma once

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
    /// Of the bundle's folder, as the file system has it: the one text that may be no UTF-8.
    std::string path;
    BundleIcon icon;
};

}  // namespace quorvel
