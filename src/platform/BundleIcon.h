#pragma once

#include <filesystem>

namespace quorvel {

/// A bundle's icon, still in its bundle: nothing is decoded until it is shown, at 16 by 16 points.
struct BundleIcon {
    std::filesystem::path bundle;

    bool operator==(const BundleIcon&) const = default;
};

}  // namespace quorvel
