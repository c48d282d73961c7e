#pragma once

#include <cstdint>
#include <functional>
#include <memory>
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
    /// All icons of the menu that is shown from now on. What is not among them is forgotten.
    virtual void setListed(const std::vector<BundleIcon>& icons) = 0;

    using Arrival = std::function<void(const std::vector<BundleIcon>& icons)>;
    /// `arrived` runs later, whenever listed icons have got their pictures, as long as the result is kept.
    [[nodiscard]] virtual std::shared_ptr<const Arrival> onArrival(Arrival arrived) = 0;
};

}  // namespace quorvel
