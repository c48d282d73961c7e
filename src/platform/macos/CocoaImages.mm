#import "platform/macos/CocoaImages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

#import "platform/macos/Kept.h"

namespace quorvel {

namespace {

constexpr int bytesPerPixel = 4;

Kept<NSBitmapImageRep> representationOf(const Bitmap& bitmap) {
    Kept pixels([[NSBitmapImageRep alloc] initWithBitmapDataPlanes:nullptr
                                                        pixelsWide:bitmap.width
                                                        pixelsHigh:bitmap.height
                                                     bitsPerSample:8
                                                   samplesPerPixel:bytesPerPixel
                                                          hasAlpha:YES
                                                          isPlanar:NO
                                                    colorSpaceName:NSDeviceRGBColorSpace
                                                      bitmapFormat:NSBitmapFormatAlphaNonpremultiplied
                                                       bytesPerRow:bitmap.width * bytesPerPixel
                                                      bitsPerPixel:8 * bytesPerPixel]);
    std::ranges::copy(bitmap.rgba, [pixels.get() bitmapData]);
    return pixels;
}

/// A colour that cannot be seen may be anything, even no number.
std::array<std::uint8_t, bytesPerPixel> pixelOf(NSColor* color) {
    const CGFloat alpha = [color alphaComponent];
    if (!(alpha > 0)) return {};
    const auto byte = [](CGFloat part) { return static_cast<std::uint8_t>(std::lround(part * 255)); };
    return {byte([color redComponent]), byte([color greenComponent]), byte([color blueComponent]),
            byte(alpha)};
}

Bitmap bitmapFrom(NSBitmapImageRep* representation) {
    Bitmap bitmap{.width = static_cast<int>([representation pixelsWide]),
                  .height = static_cast<int>([representation pixelsHigh]),
                  .rgba = {}};
    for (int y = 0; y < bitmap.height; ++y) {
        const Pool pool;
        for (int x = 0; x < bitmap.width; ++x)
            std::ranges::copy(pixelOf([[representation colorAtX:x y:y]
                                  colorUsingColorSpace:[NSColorSpace deviceRGBColorSpace]]),
                              std::back_inserter(bitmap.rgba));
    }
    return bitmap;
}

}  // namespace

NSImage* cocoaImage(const Image& image) {
    const NSSize size = NSMakeSize(image.size, image.size);
    NSImage* const result = [[[NSImage alloc] initWithSize:size] autorelease];
    for (const auto& bitmap : image.bitmaps) {
        const auto representation = representationOf(bitmap);
        [representation.get() setSize:size];
        [result addRepresentation:representation.get()];
    }
    [result setTemplate:image.isTemplate ? YES : NO];
    return result;
}

Image imageFrom(NSImage* image) {
    Image result{
        .themeName = "", .bitmaps = {}, .size = [image size].width, .isTemplate = [image isTemplate] == YES};
    for (NSBitmapImageRep* representation in [NSBitmapImageRep imageRepsWithData:[image TIFFRepresentation]])
        result.bitmaps.push_back(bitmapFrom(representation));
    std::ranges::sort(result.bitmaps, {}, &Bitmap::width);
    return result;
}

}  // namespace quorvel
