#include <algorithm>
#include <gtest/gtest.h>

#include "platform/macos/BundleImages.h"
#include "platform/macos/CocoaImages.h"
#include "platform/macos/CocoaStatusBar.h"
#import "platform/macos/Kept.h"
#import "platform/macos/Toolkit.h"
#include "support/StatusBarContract.h"

namespace quorvel {
namespace {

class CocoaStatusItem : public testing::Test {
protected:
    CocoaStatusItem() {
        toolkit::start();
        item = CocoaStatusBar().makeStatusItem();
        shown = toolkit::statusItem();
    }

    std::string shownMenu() const { return toolkit::outline([shown menu]); }
    void choose(const std::string& title) const {
        const Pool pool;
        EXPECT_TRUE(toolkit::choose([shown menu], title));
    }

    std::unique_ptr<StatusItem> item;
    NSStatusItem* shown = nil;
};

INSTANTIATE_TYPED_TEST_SUITE_P(Cocoa, StatusBarContract, CocoaStatusItem);

TEST_F(CocoaStatusItem, drawsSmallIconsAndAGreyLineUnderATitleThatIsNotJustLong) {
    auto update = actionItem("A name"),
         error = actionItem("an error that is longer than any line of a menu is wide, "
                            "and so goes on in the next one");
    update.detail = {{"1.0"}};
    update.image = BundleIcon{SOURCE_ROOT "/demo/system/Applications/Amberleaf.app"};
    item->setMenu(menuOf({update, error}));
    NSMenuItem* const first = [[shown menu] itemAtIndex:0];
    NSMenuItem* const second = [[shown menu] itemAtIndex:1];
    EXPECT_EQ(textFrom([first title]), "A name");
    EXPECT_EQ([[first image] size].width, 16);
    const auto look = [](NSMenuItem* at, NSString* attribute, NSUInteger place) {
        return [[at attributedTitle] attribute:attribute atIndex:place effectiveRange:nullptr];
    };
    NSFont* const small = [NSFont systemFontOfSize:[NSFont smallSystemFontSize]];
    EXPECT_TRUE([look(first, NSFontAttributeName, 7) isEqual:small]);
    EXPECT_TRUE([look(first, NSForegroundColorAttributeName, 7) isEqual:[NSColor secondaryLabelColor]]);
    for (const auto& [at, place] : {std::pair<NSMenuItem*, NSUInteger>{first, 0}, {second, 80}}) {
        EXPECT_TRUE([look(at, NSFontAttributeName, place) isEqual:[NSFont menuFontOfSize:0]]);
        EXPECT_FALSE(look(at, NSForegroundColorAttributeName, place)) << "highlighting changes it";
    }
    item->setToolTip("tip");
    EXPECT_EQ(textFrom([[shown button] toolTip]), "tip");
    item.reset();
    EXPECT_FALSE(toolkit::statusItem());
}

/// Half transparent pixels too, and what nobody sees.
TEST_F(CocoaStatusItem, showsPicturesPixelByPixel) {
    const Bitmap small{1, 2, {1, 2, 3, 4, 250, 128, 0, 255}}, large{2, 1, {0, 0, 0, 0, 9, 99, 199, 77}};
    for (const bool isTemplate : {true, false}) {
        const Image image{.themeName = "", .bitmaps = {small, large}, .size = 24, .isTemplate = isTemplate};
        auto largestFirst = image;
        std::ranges::reverse(largestFirst.bitmaps);
        item->setImage(std::make_shared<Image>(largestFirst));
        NSImage* const picture = [[shown button] image];
        EXPECT_EQ(imageFrom(picture), image);
        EXPECT_EQ([[[picture representations] objectAtIndex:0] size].width, 24);
        [picture setName:isTemplate ? @"SomeTemplate" : @"Some"];
    }
    EXPECT_TRUE(BundleImages().imageNamed("SomeTemplate")->isTemplate);
    EXPECT_FALSE(BundleImages().imageNamed("Missing"));
    EXPECT_TRUE(BundleImages().systemSymbol("menubar.arrow.down.rectangle"));
    EXPECT_FALSE(BundleImages().systemSymbol("missing"));
}

}  // namespace
}  // namespace quorvel
