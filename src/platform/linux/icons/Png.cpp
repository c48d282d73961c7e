#include "platform/linux/icons/Png.h"

#include <cstddef>
#include <png.h>

namespace quorvel {
namespace {

/// A header may promise four gigabytes of pixels.
constexpr png_uint_32 maxSide = 1024;

/// Holds libpng's state, which a reader that stopped half-way has to free itself.
struct PngState {
    PngState() { image.version = PNG_IMAGE_VERSION; }
    ~PngState() { png_image_free(&image); }
    PngState(const PngState&) = delete;
    PngState& operator=(const PngState&) = delete;

    png_image image{};
};

std::size_t rgbaSize(const png_image& image) {
    return std::size_t{image.width} * image.height * 4;
}

}  // namespace

std::optional<Bitmap> decodedPng(std::span<const std::uint8_t> png) {
    PngState state;
    auto& image = state.image;
    if (png_image_begin_read_from_memory(&image, png.data(), png.size()) == 0) return std::nullopt;
    if (image.width > maxSide || image.height > maxSide) return std::nullopt;

    image.format = PNG_FORMAT_RGBA;  // Of all formats with alpha, this one is not premultiplied.
    Bitmap bitmap{
        .width = static_cast<int>(image.width), .height = static_cast<int>(image.height), .rgba = {}};
    bitmap.rgba.resize(rgbaSize(image));
    if (png_image_finish_read(&image, nullptr, bitmap.rgba.data(), 0, nullptr) == 0) return std::nullopt;
    return bitmap;
}

std::vector<std::uint8_t> encodedPng(const Bitmap& bitmap) {
    PngState state;
    auto& image = state.image;
    image.width = static_cast<png_uint_32>(bitmap.width);
    image.height = static_cast<png_uint_32>(bitmap.height);
    image.format = PNG_FORMAT_RGBA;
    if (bitmap.width <= 0 || bitmap.height <= 0 || bitmap.rgba.size() != rgbaSize(image)) return {};
    // Large enough for any outcome, so that the picture is compressed only once.
    std::vector<std::uint8_t> file(PNG_IMAGE_PNG_SIZE_MAX(image));
    png_alloc_size_t size = file.size();
    if (png_image_write_to_memory(&image, file.data(), &size, 0, bitmap.rgba.data(), 0, nullptr) == 0)
        size = 0;
    file.resize(size);
    return file;
}

}  // namespace quorvel
