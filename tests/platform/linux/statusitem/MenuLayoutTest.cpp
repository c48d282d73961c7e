#include <gtest/gtest.h>
#include <set>

#include "platform/linux/statusitem/MenuLayout.h"
#include "platform/linux/statusitem/MenuSamples.h"
#include "support/FakeIcons.h"

namespace quorvel {
namespace {

using Id = MenuLayout::Id;

TEST(MenuLayout, countsWhatIsBeyondALengthThatPanelsBear) {
    MenuLayout layout;
    for (const std::size_t more : {0U, 1U, 9'000U}) {
        const std::vector<MenuItem> many(MenuLayout::maxItems + more, actionItem("x"));
        layout.setMenu(menuOf({submenuItem("all", many), actionItem("last")}));
        const auto ids = layout.children(layout.children(MenuLayout::root).front());
        ASSERT_EQ(ids.size(), MenuLayout::maxItems + (more > 0 ? 1 : 0)) << more;
        EXPECT_EQ(layout.all().size(), ids.size() + 3) << more;
        const auto& last = *layout.item(ids.back());
        EXPECT_EQ(displayTitle(last), more > 0 ? "… and " + std::to_string(more) + " more" : "x");
        EXPECT_EQ(last.isEnabled, more == 0);
    }
}

TEST(MenuLayout, givesNoIdTwiceAndForgetsThoseOfTheMenuBefore) {
    const auto nested = menuOf({actionItem("a"), submenuItem("b", {submenuItem("c", {actionItem("d")})})});
    MenuLayout layout;
    std::set<Id> used;
    for (const auto& menu : {nested, nested, menuOf({actionItem("a")}), nested, menuOf({}), nested}) {
        layout.setMenu(menu);
        for (const Id id : used)
            EXPECT_FALSE(layout.contains(id)) << "stale id " << id;
        const auto all = layout.all();
        EXPECT_EQ(all.front(), MenuLayout::root);
        for (std::size_t index = 1; index < all.size(); ++index)
            EXPECT_TRUE(used.insert(all[index]).second && all[index] > 0 && layout.item(all[index]));
    }
    EXPECT_FALSE(layout.contains(-1) || layout.contains(*used.rbegin() + 1));
    layout.setMenu(nullptr);
    EXPECT_EQ(layout.all(), std::vector<Id>{MenuLayout::root});
}

TEST(MenuLayout, offersATargetOnlyForWhatCanBeChosen) {
    MenuItem disabled = actionItem("disabled"), separator = actionItem("separator"),
             without = actionItem("without a target"), gone = actionItem("with a target that is gone");
    disabled.isEnabled = false;
    separator.isSeparator = true;
    without.target.reset();
    gone.representedObject.reset();
    MenuLayout layout;
    layout.setMenu(menuOf({actionItem("action"), disabled, separator, without, gone}));
    std::string choosable;
    for (const Id id : layout.all())
        choosable += layout.target(id) ? "yes " : "no ";
    EXPECT_EQ(choosable, "no yes no no no no ");
}

TEST(MenuLayout, itsContentHasTheIdsForNumbersAndTitlesAsTheyAreDrawn) {
    FakeIcons icons;
    icons.pngs["/Known.app"].resize(7);
    MenuLayout layout(&icons);
    layout.setMenu(menuOf({actionItem("of the menu before")}));
    auto known = actionItem("a_&\tb"), unknown = actionItem("c");
    known.image = BundleIcon{"/Known.app"};
    known.state = MenuItem::State::on;
    unknown.image = BundleIcon{"/Other.app"};
    unknown.isEnabled = false;
    unknown.keyEquivalent = "q";
    layout.setMenu(menuOf({submenuItem("s", {known}), MenuItem::separator(), unknown}));
    const auto items = layout.content().items;
    ASSERT_EQ(items.size(), 3U);
    const auto& shown = items[0].submenu.value().at(0);
    EXPECT_EQ(shown.title, "a_& b");
    EXPECT_EQ(shown.picture, std::vector<std::uint8_t>(7));
    EXPECT_EQ(shown.state, MenuItem::State::on);
    EXPECT_TRUE(layout.target(static_cast<Id>(shown.number)) == known.target.lock());
    EXPECT_TRUE(items[1].isSeparator);
    EXPECT_EQ(items[2].picture, MenuLayout::genericIcon());
    EXPECT_FALSE(items[2].isEnabled);
    EXPECT_EQ(items[2].keyEquivalent, "q");
    EXPECT_FALSE(items[0].picture || items[2].submenu);
}

}  // namespace
}  // namespace quorvel
