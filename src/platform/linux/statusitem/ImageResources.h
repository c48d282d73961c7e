#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/StatusBar.h"

namespace quorvel {

/// A picture whose bytes are part of the program.
struct EmbeddedPicture {
    std::string_view name;
    /// The same picture in several sizes, smallest first, each a PNG file.
    std::span<const std::span<const std::uint8_t>> pngs;
};

/// What the build drew from the SVGs of resources/.
std::span<const EmbeddedPicture> embeddedPictures();

/// The pictures that are part of the program, decoded anew each time one is asked for: that is rare, and
/// between two times nothing is kept.
class ImageResources : public ImageCatalog {
public:
    /// The pixels are those of the coloured style, and their alpha is the template's shape.
    std::optional<Image> imageNamed(const std::string& name) const override;
    /// Always none: this platform has no pictures of its own that every desktop could show.
    std::optional<Image> systemSymbol(const std::string& name) const override;
};

}  // namespace quorvel
