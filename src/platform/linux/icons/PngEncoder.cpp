#include "platform/linux/icons/PngEncoder.h"

#include <cstddef>
#include <png.h>

namespace quorvel {

std::vector<std::uint8_t> encodedPng(const Bitmap& bitmap) {
    const auto width = static_cast<std::size_t>(bitmap.width),
               height = static_cast<std::size_t>(bitmap.height);
    if (bitmap.width <= 0 || bitmap.height <= 0 || bitmap.rgba.size() != width * height * 4) return {};
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width);
    image.height = static_cast<png_uint_32>(height);
    image.format = PNG_FORMAT_RGBA;
    // Large enough for any outcome, so that the picture is compressed only once.
    std::vector<std::uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = file.size();
    const int result =
        png_image_write_to_memory(&image, file.data(), &size, 0, bitmap.rgba.data(), 0, nullptr);
    png_image_free(&image);
    return result == 0
               ? std::vector<std::uint8_t>()
               : std::vector<std::uint8_t>(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
}

}  // namespace quorvel
