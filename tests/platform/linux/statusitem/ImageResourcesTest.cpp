#include <gtest/gtest.h>

#include "platform/linux/icons/Png.h"
#include "platform/linux/statusitem/ImageResources.h"
#include "platform/linux/statusitem/MenuLayout.h"

namespace quorvel {
namespace {

TEST(ImageResources, theStatusIconHasEverySizeThatPanelsAskFor) {
    const auto image = ImageResources().imageNamed("StatusBarIconTemplate");
    ASSERT_TRUE(image);
    std::vector<int> sizes;
    for (const auto& bitmap : image->bitmaps) {
        sizes.push_back(bitmap.width);
        EXPECT_EQ(bitmap.height, bitmap.width);
    }
    EXPECT_EQ(sizes, (std::vector<int>{16, 22, 24, 32, 48, 64}));
    EXPECT_EQ(image->size, 16);
    EXPECT_TRUE(image->isTemplate);
    EXPECT_EQ(image->themeName, "com.ob.quorvel-status");
    EXPECT_EQ(decodedPng(MenuLayout::genericIcon()).value().width, 32) << "two pixels a point";
}

TEST(ImageResources, leavesOutWhatCannotBeDecoded) {
    const Bitmap bitmap{.width = 2, .height = 1, .rgba = {200, 100, 50, 128, 1, 2, 3, 255}};
    const auto whole = encodedPng(bitmap);
    const auto cut = std::span(whole).first(whole.size() / 2);
    const std::span<const std::uint8_t> oneDamaged[] = {cut, whole}, allDamaged[] = {cut, {}};
    const EmbeddedPicture pictures[] = {{.name = "Some", .pngs = oneDamaged},
                                        {.name = "None", .pngs = allDamaged}};
    const ImageResources resources(pictures);
    const auto some = resources.imageNamed("Some");
    ASSERT_TRUE(some);
    EXPECT_EQ(some->bitmaps, std::vector{bitmap});
    EXPECT_FALSE(some->isTemplate);
    EXPECT_FALSE(resources.imageNamed("None"));
    EXPECT_FALSE(resources.imageNamed("Other"));
}

}  // namespace
}  // namespace quorvel
