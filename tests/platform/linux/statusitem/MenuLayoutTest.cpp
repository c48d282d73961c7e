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
    for (const std::size_t more : {9'000U, 0U}) {
        const std::vector<MenuItem> many(MenuLayout::maxItems + more, actionItem("x"));
        layout.setMenu(menuOf({submenuItem("all", many), actionItem("last")}));
        const auto ids = layout.children(layout.children(MenuLayout::root).front());
        ASSERT_EQ(ids.size(), MenuLayout::maxItems + (more > 0 ? 1 : 0));
        const auto& last = *layout.item(ids.back());
        EXPECT_EQ(displayTitle(last), more > 0 ? "… and 9000 more" : "x");
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
        for (const Id id : layout.all())
            EXPECT_TRUE(id == MenuLayout::root || used.insert(id).second) << id;
    }
    EXPECT_EQ(used.size(), 17U);
    EXPECT_FALSE(layout.contains(-1) || layout.contains(*used.rbegin() + 1));
}

TEST(MenuLayout, itsContentHasTheIdsForNumbersAndTitlesAsTheyAreDrawn) {
    FakeIcons icons;
    icons.pngs["/Known.app"].resize(7);
    MenuLayout layout(&icons);
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
    EXPECT_EQ(layout.target(static_cast<Id>(shown.number)), known.target.lock());
    EXPECT_FALSE(layout.target(static_cast<Id>(items[2].number))) << "nobody can choose it";
    EXPECT_TRUE(items[1].isSeparator);
    EXPECT_EQ(items[2].picture, MenuLayout::genericIcon());
    EXPECT_FALSE(items[2].isEnabled);
    EXPECT_EQ(items[2].keyEquivalent, "q");
    EXPECT_FALSE(items[0].picture || items[2].submenu);
}

}  // namespace
}  // namespace quorvel
