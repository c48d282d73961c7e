#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>

#include "platform/linux/icons/Png.h"
#include "platform/linux/statusitem/ImageResources.h"

namespace quorvel {
namespace {

const std::string statusIcon = "StatusBarIconTemplate";

std::vector<std::uint8_t> smallestPng() {
    const auto bytes = embeddedPictures().front().pngs.front();
    return {bytes.begin(), bytes.end()};
}

using Colour = std::array<std::uint8_t, 3>;

/// Relative luminance of an sRGB colour, 0 to 1.
double luminance(const Colour& colour) {
    const auto linear = [&](std::size_t channel) {
        const double value = colour[channel] / 255.0;
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(0) + 0.7152 * linear(1) + 0.0722 * linear(2);
}

double contrast(const Colour& one, const Colour& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

/// Of all pixels that are not see-through, the contrast of the one that is hardest to tell from the
/// background.
double weakestContrast(const Image& image, const Colour& background) {
    double weakest = 21;
    for (const auto& [width, height, rgba] : image.bitmaps) {
        for (std::size_t at = 0; at < rgba.size(); at += 4) {
            if (rgba[at + 3] < 255) continue;
            weakest = std::min(weakest, contrast({rgba[at], rgba[at + 1], rgba[at + 2]}, background));
        }
    }
    return weakest;
}

TEST(ImageResourcesTest, statusIconHasEverySizeThatPanelsAskFor) {
    const auto image = ImageResources().imageNamed(statusIcon);
    ASSERT_TRUE(image);
    std::vector<int> sizes;
    for (const auto& bitmap : image->bitmaps) {
        sizes.push_back(bitmap.width);
        EXPECT_EQ(bitmap.height, bitmap.width);
        EXPECT_EQ(bitmap.rgba.size(), static_cast<std::size_t>(bitmap.width * bitmap.height * 4));
    }
    EXPECT_EQ(sizes, (std::vector<int>{16, 22, 24, 32, 48, 64}));
    EXPECT_TRUE(image->isTemplate);
    EXPECT_EQ(image->themeName, "com.ob.quorvel-status");
    EXPECT_EQ(image, ImageResources().imageNamed(statusIcon)) << "asked a second time";
}

// Only the rounded corners may be half transparent; an edge between two pixels would add whole rows of them.
TEST(ImageResourcesTest, edgesLieOnWholePixels) {
    const auto image = ImageResources().imageNamed(statusIcon);
    ASSERT_TRUE(image);
    for (const auto& bitmap : image->bitmaps) {
        int opaque = 0, clear = 0, between = 0;
        for (std::size_t at = 3; at < bitmap.rgba.size(); at += 4) {
            const auto alpha = bitmap.rgba[at];
            ++(alpha == 255 ? opaque : alpha == 0 ? clear : between);
        }
        EXPECT_GT(opaque, bitmap.rgba.size() / 4 / 4) << bitmap.width;
        EXPECT_GT(clear, bitmap.rgba.size() / 4 / 5) << bitmap.width;
        EXPECT_LT(between, bitmap.width * 2) << bitmap.width;
    }
}

TEST(ImageResourcesTest, bothLooksAreSeenOnLightAndOnDarkPanels) {
    const auto image = ImageResources().imageNamed(statusIcon);
    ASSERT_TRUE(image);
    const auto inverted = invertedImage(*image);
    ASSERT_TRUE(inverted);
    constexpr Colour light{0xf2, 0xf2, 0xf2}, dark{0x26, 0x26, 0x26};
    for (const auto& background : {light, dark}) {
        EXPECT_GE(weakestContrast(*image, background), 3) << "idle on " << int{background[0]};
        EXPECT_GE(weakestContrast(*inverted, background), 3) << "fetching on " << int{background[0]};
    }
}

TEST(ImageResourcesTest, leavesOutWhatCannotBeDecoded) {
    const auto whole = smallestPng();
    const std::vector<std::uint8_t> cut(whole.begin(), whole.begin() + 60);
    const std::span<const std::uint8_t> oneDamaged[] = {cut, whole}, allDamaged[] = {cut, {}};
    const EmbeddedPicture pictures[] = {{.name = "Some", .pngs = oneDamaged},
                                        {.name = "None", .pngs = allDamaged}};
    const ImageResources resources(pictures);
    const auto some = resources.imageNamed("Some");
    ASSERT_TRUE(some);
    EXPECT_EQ(some->bitmaps, (std::vector<Bitmap>{*decodedPng(whole)}));
    EXPECT_FALSE(some->isTemplate);
    EXPECT_FALSE(resources.imageNamed("None"));
}

}  // namespace
}  // namespace quorvel
