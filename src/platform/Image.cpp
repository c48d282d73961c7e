#include "platform/Image.h"

#include <cstddef>

namespace quorvel {

std::optional<Image> invertedImage(const Image& image) {
    if (image.bitmaps.empty()) return std::nullopt;
    Image inverted{.themeName = image.themeName.empty() ? "" : image.themeName + "-inverted",
                   .bitmaps = image.bitmaps,
                   .size = image.size,
                   .isTemplate = false};
    for (auto& bitmap : inverted.bitmaps) {
        for (std::size_t byte = 0; byte < bitmap.rgba.size(); ++byte) {
            const bool isAlpha = byte % 4 == 3;
            if (!isAlpha) bitmap.rgba[byte] = static_cast<std::uint8_t>(255 - bitmap.rgba[byte]);
        }
    }
    return inverted;
}

}  // namespace quorvel
