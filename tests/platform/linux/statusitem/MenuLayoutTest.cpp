#include <algorithm>
#include <gtest/gtest.h>
#include <set>

#include "platform/linux/icons/Png.h"
#include "platform/linux/statusitem/MenuLayout.h"
#include "platform/linux/statusitem/MenuSamples.h"
#include "support/FakeIcons.h"

namespace quorvel {
namespace {

using Id = MenuLayout::Id;

TEST(MenuLayout, theGenericIconIsAPictureForScreensOfTwoPixelsAPoint) {
    const auto bitmap = decodedPng(MenuLayout::genericIcon());
    ASSERT_TRUE(bitmap);
    EXPECT_EQ(bitmap->width, 32);
    EXPECT_EQ(bitmap->height, 32);
}

TEST(MenuLayout, findsTheItemsWithAPictureAtAnyDepth) {
    const auto with = [](const char* bundle) {
        auto item = actionItem("with");
        item.image = BundleIcon{bundle};
        return item;
    };
    MenuLayout layout;
    layout.setMenu(menuOf({with("/A.app"), submenuItem("s", {with("/B.app"), with("/A.app")})}));
    EXPECT_EQ(layout.images(), (std::vector<BundleIcon>{{"/A.app"}, {"/B.app"}, {"/A.app"}}));
    const auto upper = layout.children(MenuLayout::root), lower = layout.children(upper.at(1));
    EXPECT_EQ(layout.itemsWith({{"/A.app"}, {"/C.app"}}), (std::vector{upper[0], lower.at(1)}));
    EXPECT_EQ(layout.itemsWith({{"/B.app"}}), std::vector{lower[0]});
    EXPECT_TRUE(layout.itemsWith({}).empty());
}

/// The labels below `id`, those of a submenu in brackets.
std::string outline(const MenuLayout& layout, Id id) {
    std::string text;
    for (const Id child : layout.children(id)) {
        text += std::get<std::string>(layout.properties(child).at(0).value);
        if (!layout.children(child).empty()) text += '[' + outline(layout, child) + ']';
    }
    return text;
}

std::shared_ptr<const Menu> nestedMenu() {
    return menuOf({actionItem("a"),
                   submenuItem("b", {actionItem("c"), submenuItem("d", {actionItem("e")}), actionItem("f")}),
                   submenuItem("g", {actionItem("h")}), actionItem("i")});
}

TEST(MenuLayout, keepsTheOrderAndTheNestingOfTheItems) {
    MenuLayout layout;
    EXPECT_EQ(layout.all(), std::vector<Id>{MenuLayout::root}) << "before the first menu";
    layout.setMenu(nestedMenu());
    EXPECT_EQ(outline(layout, MenuLayout::root), "ab[cd[e]f]g[h]i");
    EXPECT_EQ(layout.all().size(), 10U);
    layout.setMenu(nullptr);
    EXPECT_EQ(layout.all(), std::vector<Id>{MenuLayout::root}) << "after the last";
}

TEST(MenuLayout, countsWhatIsBeyondALengthThatPanelsBear) {
    MenuLayout layout;
    for (const std::size_t more : {0U, 1U, 9'000U}) {
        const std::vector<MenuItem> many(MenuLayout::longestMenu + more, actionItem("x"));
        layout.setMenu(menuOf({submenuItem("all", many), actionItem("last")}));
        const auto ids = layout.children(layout.children(MenuLayout::root).front());
        ASSERT_EQ(ids.size(), MenuLayout::longestMenu + (more > 0 ? 1 : 0)) << more;
        EXPECT_EQ(layout.all().size(), ids.size() + 3) << more;
        if (more == 0) continue;
        EXPECT_EQ(layout.properties(ids.back()),
                  (MenuProperties{{"label", "… and " + std::to_string(more) + " more"}, {"enabled", false}}));
    }
}

TEST(MenuLayout, givesNoIdTwiceAndForgetsThoseOfTheMenuBefore) {
    MenuLayout layout;
    std::set<Id> used;
    std::vector<Id> before;
    for (std::uint32_t count = 1; count <= 50; ++count) {
        layout.setMenu(count % 3 == 0 ? menuOf({actionItem("a")}) : nestedMenu());
        EXPECT_EQ(layout.revision(), count);
        for (const Id id : before) {
            EXPECT_FALSE(layout.contains(id) || layout.target(id) || !layout.children(id).empty() ||
                         !layout.properties(id).empty())
                << "stale id " << id;
        }
        before = layout.all();
        std::erase(before, MenuLayout::root);
        for (const Id id : before)
            EXPECT_TRUE(used.insert(id).second && id > 0) << "id " << id << " in menu " << count;
    }
    EXPECT_FALSE(layout.contains(-1) || layout.contains(before.back() + 1));
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
