#pragma once

#include <string>

namespace quorvel {

/// A bundle's icon, still in its bundle: nothing is decoded until it is shown, at 16 by 16 points.
struct BundleIcon {
    /// The path of the bundle's folder. As a `std::filesystem::path` it would take 300 bytes more, and a menu
    /// can have hundreds.
    std::string bundle;

    bool operator==(const BundleIcon&) const = default;
};

}  // namespace quorvel
