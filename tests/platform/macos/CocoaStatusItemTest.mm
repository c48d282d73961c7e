#include <algorithm>
#include <gtest/gtest.h>

#include "platform/linux/statusitem/MenuSamples.h"
#include "platform/macos/BundleImages.h"
#include "platform/macos/CocoaImages.h"
#include "platform/macos/CocoaStatusBar.h"
#import "platform/macos/Kept.h"
#import "platform/macos/Toolkit.h"

namespace quorvel {
namespace {

class CocoaStatusItem : public testing::Test {
protected:
    CocoaStatusItem() {
        toolkit::start();
        item = CocoaStatusBar().makeStatusItem();
        shown = [toolkit::statusItems() lastObject];
    }

    std::unique_ptr<StatusItem> item;
    NSStatusItem* shown = nil;
};

TEST_F(CocoaStatusItem, drawsItsMenuAsTheValueSays) {
    auto update = actionItem(""), off = actionItem("an error that is longer than any line of a menu is wide, "
                                                   "and so goes on in the next one");
    update.title = {{"A long\nname", true}};
    update.detail = {{"1.0", true}, {" → "}, {"2.0", true}};
    update.image = BundleIcon{SOURCE_ROOT "/demo/system/Applications/Amberleaf.app"};
    off.isEnabled = false;
    item->setMenu(menuOf({update, off}));

    NSMenuItem* const first = [[shown menu] itemAtIndex:0];
    EXPECT_EQ(textFrom([first title]), "A long name");
    EXPECT_EQ(textFrom([[first attributedTitle] string]), "A long name\n1.0 → 2.0");
    EXPECT_EQ([[first image] size].width, 16);
    const auto look = [&](NSString* attribute, NSUInteger place) {
        return [[first attributedTitle] attribute:attribute atIndex:place effectiveRange:nullptr];
    };
    EXPECT_TRUE([look(NSFontAttributeName, 11) isEqual:[NSFont menuFontOfSize:0]]);
    EXPECT_FALSE(look(NSForegroundColorAttributeName, 11)) << "the menu's own, also while it is highlighted";
    NSFont* const small = [NSFont systemFontOfSize:[NSFont smallSystemFontSize]];
    EXPECT_TRUE([look(NSFontAttributeName, 12) isEqual:small]);
    EXPECT_TRUE([look(NSForegroundColorAttributeName, 12) isEqual:[NSColor secondaryLabelColor]]);

    NSMenuItem* const second = [[shown menu] itemAtIndex:1];
    EXPECT_FALSE([second isEnabled]);
    EXPECT_EQ(textFrom([[second attributedTitle] string]),
              "an error that is longer than any line of a menu is wide, and\nso goes on in the next one");
}

TEST_F(CocoaStatusItem, keepsTargetsExactlyAsLongAsTheirMenu) {
    std::vector<std::weak_ptr<CountingTarget>> targets;
    int chosen = 0;
    const auto setMenu = [&](std::function<void()> action) {
        const Pool pool;
        const auto target = std::make_shared<CountingTarget>();
        target->andThen = std::move(action);
        targets.push_back(target);
        item->setMenu(menuOf({submenuItem("sub", {actionItem("choose", target)})}));
    };
    setMenu([&] {
        setMenu([] {});
        ++chosen;
        EXPECT_FALSE(targets[0].expired()) << "it is at work";
    });
    {
        const Pool pool;
        EXPECT_TRUE(toolkit::choose([shown menu], "choose"));
    }
    EXPECT_EQ(chosen, 1);
    EXPECT_TRUE(targets[0].expired());
    EXPECT_FALSE(targets[1].expired());
    item.reset();
    EXPECT_EQ([toolkit::statusItems() count], 0U);
}

/// Half transparent pixels too, and what nobody sees.
TEST_F(CocoaStatusItem, showsPicturesPixelByPixel) {
    const Bitmap small{1, 2, {1, 2, 3, 4, 250, 128, 0, 255}}, large{2, 1, {0, 0, 0, 0, 9, 99, 199, 77}};
    for (const bool isTemplate : {true, false}) {
        const Image image{.themeName = "", .bitmaps = {small, large}, .size = 24, .isTemplate = isTemplate};
        auto largestFirst = image;
        std::ranges::reverse(largestFirst.bitmaps);
        item->setImage(largestFirst);
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
