#pragma once

#include "platform/StatusBar.h"

namespace quorvel {

/// The pictures among the bundle's resources, and the system's symbols.
class BundleImages final : public ImageCatalog {
public:
    std::optional<Image> imageNamed(const std::string& name) const override;
    std::optional<Image> systemSymbol(const std::string& name) const override;
};

}  // namespace quorvel
