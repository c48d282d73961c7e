#include "platform/linux/icons/PngDecoder.h"

#include <png.h>

namespace quorvel {
namespace {

/// A header may promise four gigabytes of pixels.
constexpr png_uint_32 largestSide = 1024;

/// Holds libpng's reading state, which a reader that stopped half-way has to give back itself.
struct Reading {
    Reading() { image.version = PNG_IMAGE_VERSION; }
    ~Reading() { png_image_free(&image); }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    png_image image{};
};

}  // namespace

std::optional<Bitmap> decodedPng(std::span<const std::uint8_t> png) {
    Reading reading;
    auto& image = reading.image;
    if (png_image_begin_read_from_memory(&image, png.data(), png.size()) == 0) return std::nullopt;
    if (image.width > largestSide || image.height > largestSide) return std::nullopt;

    image.format = PNG_FORMAT_RGBA;  // Of all formats with alpha, this one is not premultiplied.
    Bitmap bitmap{
        .width = static_cast<int>(image.width), .height = static_cast<int>(image.height), .rgba = {}};
    bitmap.rgba.resize(std::size_t{image.width} * image.height * 4);
    if (png_image_finish_read(&image, nullptr, bitmap.rgba.data(), 0, nullptr) == 0) return std::nullopt;
    return bitmap;
}

}  // namespace quorvel
