#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorvel {

/// Pixels of one size: red, green, blue, alpha, not premultiplied, rows from the top.
struct Bitmap {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> rgba;

    bool operator==(const Bitmap&) const = default;
};

/// A picture as a value. Empty when it has no bitmaps.
struct Image {
    /// The name under which an icon theme may have this picture, as a template with "-symbolic" after it;
    /// empty when only the bitmaps show it.
    std::string themeName;
    /// The same picture in several sizes, smallest first.
    std::vector<Bitmap> bitmaps;
    /// In points, width and height alike.
    double size = 0;
    /// A template is drawn in the colour of its surroundings; only its alpha counts.
    bool isTemplate = false;

    bool operator==(const Image&) const = default;
};

/// A copy with inverted colours, of the same size and no template, which an icon theme may have under the
/// name with "-inverted" after it. None when there are no pixels to invert.
std::optional<Image> invertedImage(const Image& image);

}  // namespace quorvel
