#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/BundleIcon.h"

namespace quorvel {

/// Has the icons of bundles ready for a menu. Main thread.
class IconProvider {
public:
    virtual ~IconProvider() = default;
    /// The icon as a PNG file of 16 by 16 points; none, at once, while there is no picture of it.
    virtual std::optional<std::vector<std::uint8_t>> pngFor(const BundleIcon& icon) = 0;
};

}  // namespace quorvel
