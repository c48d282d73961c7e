#include <gtest/gtest.h>

#include "platform/linux/icons/Png.h"
#include "platform/linux/statusitem/ImageResources.h"
#include "platform/linux/statusitem/MenuLayout.h"

namespace quorvel {
namespace {

TEST(ImageResources, theStatusIconHasEverySizeThatPanelsAskFor) {
    const ImageResources resources;
    const auto image = resources.imageNamed("StatusBarIconTemplate").value();
    std::vector<int> sizes;
    for (const auto& bitmap : image.bitmaps)
        sizes.push_back(bitmap.width);
    EXPECT_EQ(sizes, (std::vector<int>{16, 22, 24, 32, 48, 64}));
    EXPECT_EQ(image.size, 16);
    EXPECT_TRUE(image.isTemplate);
    EXPECT_EQ(image.themeName, "com.ob.quorvel-status");
    EXPECT_EQ(decodedPng(MenuLayout::genericIcon()).value().width, 32) << "two pixels a point";
    EXPECT_FALSE(resources.imageNamed("Other"));
}

}  // namespace
}  // namespace quorvel
