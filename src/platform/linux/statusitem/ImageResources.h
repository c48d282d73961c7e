#pragma once

#include <span>

#include "platform/StatusBar.h"
#include "platform/linux/statusitem/EmbeddedPictures.h"

namespace quorvel {

/// The pictures that are part of the program, decoded anew each time one is asked for: that is rare, and
/// between two times nothing is kept.
class ImageResources : public ImageCatalog {
public:
    explicit ImageResources(std::span<const EmbeddedPicture> pictures = embeddedPictures());

    /// The pixels are those of the coloured look, and their alpha is the template's shape. Bitmaps that
    /// cannot be decoded are left out.
    std::optional<Image> imageNamed(const std::string& name) const override;
    /// Always none: this platform has no pictures of its own that every desktop could show.
    std::optional<Image> systemSymbol(const std::string& name) const override;

private:
    std::span<const EmbeddedPicture> pictures;
};

}  // namespace quorvel
