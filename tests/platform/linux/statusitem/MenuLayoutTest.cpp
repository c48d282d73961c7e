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
    std::vector<Id> before;
    std::uint32_t revision = 0;
    for (const auto& menu : {nested, nested, menuOf({actionItem("a")}), nested, menuOf({}), nested}) {
        layout.setMenu(menu);
        EXPECT_EQ(layout.revision(), ++revision);
        for (const Id id : before) {
            EXPECT_FALSE(layout.contains(id) || layout.target(id) || !layout.children(id).empty() ||
                         layout.item(id))
                << "stale id " << id;
        }
        before = layout.all();
        EXPECT_EQ(before.front(), MenuLayout::root);
        before.erase(before.begin());
        for (const Id id : before)
            EXPECT_TRUE(used.insert(id).second && id > 0) << "id " << id << " in menu " << revision;
    }
    EXPECT_FALSE(layout.contains(-1) || layout.contains(before.back() + 1));
    layout.setMenu(nullptr);
    EXPECT_EQ(layout.all(), std::vector<Id>{MenuLayout::root});
}

TEST(MenuLayout, offersATargetOnlyForWhatCanBeChosen) {
    struct Row {
        const char* item;
        bool isChosen;
        void (*change)(MenuItem&);
    };
    const Row rows[] = {
        {"action", true, [](MenuItem&) {}},
        {"disabled", false, [](MenuItem& item) { item.isEnabled = false; }},
        {"separator", false, [](MenuItem& item) { item.isSeparator = true; }},
        {"without a target", false, [](MenuItem& item) { item.target.reset(); }},
        {"with a target that is gone", false, [](MenuItem& item) { item.representedObject.reset(); }},
    };
    MenuLayout layout;
    for (const auto& [name, isChosen, change] : rows) {
        auto item = actionItem(name);
        change(item);
        layout.setMenu(menuOf({item}));
        item = {};
        EXPECT_EQ(layout.target(layout.all().back()) != nullptr, isChosen) << name;
    }
    EXPECT_EQ(layout.target(MenuLayout::root), nullptr);
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
