#include <gtest/gtest.h>

#include "platform/linux/statusitem/MenuLayout.h"
#include "platform/linux/statusitem/MenuSamples.h"
#include "platform/linux/statusitem/StatusItemFixture.h"
#include "support/FakeIcons.h"

namespace quorvel {
namespace {

class StatusNotifierItemMenuTest : public StatusItemFixture {
protected:
    void SetUp() override {
        StatusItemFixture::SetUp();
        if (!IsSkipped()) start();
    }

    std::vector<std::int32_t> numbers(const BusMessage& reply) {
        EXPECT_FALSE(sd_bus_message_is_method_error(reply.get(), nullptr));
        return readNumbers(reply.get());
    }

    static constexpr const char* menuInterface = "com.canonical.dbusmenu";
};

TEST_F(StatusNotifierItemMenuTest, announcesEachMenuOnceAndAnswersItsRevision) {
    for (std::uint32_t count = 1; count <= 5; ++count) {
        item->setMenu(menuOf({actionItem("menu " + std::to_string(count))}));
        const auto shown = panel->menu(name);
        EXPECT_EQ(shown.revision, count);
        EXPECT_EQ(shown.root.children.at(0).properties.at("label"), "menu " + std::to_string(count));
        ASSERT_EQ(panel->layoutUpdates.size(), count);
        EXPECT_EQ(panel->layoutUpdates.back(), count);
    }
    EXPECT_TRUE(panel->signals.empty()) << "a signal besides LayoutUpdated";
}

TEST_F(StatusNotifierItemMenuTest, sendsEveryItemAsItReads) {
    auto enabled = actionItem("_A & B_\n\u202Eto\uFFFFo\xFF");
    auto quit = actionItem("Quit");
    quit.keyEquivalent = "q";
    auto checked = actionItem("Color Icon");
    checked.state = MenuItem::State::on;
    auto unchecked = actionItem("Open at Login");
    unchecked.state = MenuItem::State::off;
    auto update = submenuItem("n", {actionItem("Open App Page")});
    update.title = {{"Émoji 😀"}};
    update.detail = {{"1 → 2"}};
    update.image = BundleIcon{"/A.app"};
    auto disabled = MenuItem{};
    disabled.title = {{"No Updates Available"}};
    disabled.isEnabled = false;
    item->setMenu(menuOf({enabled, MenuItem::separator(), quit, checked, unchecked, update, disabled}));

    const auto root = panel->menu(name).root;
    using Properties = std::map<std::string, std::string>;
    const Properties expected[] = {
        {{"label", "__A & B__ too\uFFFD"}},
        {{"type", "separator"}},
        {{"label", "Quit"}, {"shortcut", "<Control><q>"}},
        {{"label", "Color Icon"}, {"toggle-type", "checkmark"}, {"toggle-state", "1"}},
        {{"label", "Open at Login"}, {"toggle-type", "checkmark"}, {"toggle-state", "0"}},
        {{"label", "Émoji 😀\n1 → 2"},
         {"children-display", "submenu"},
         {"icon-data", std::to_string(MenuLayout::genericIcon().size()) + " bytes"}},
        {{"label", "No Updates Available"}, {"enabled", "0"}},
    };
    ASSERT_EQ(root.children.size(), std::size(expected));
    for (std::size_t index = 0; index < std::size(expected); ++index)
        EXPECT_EQ(root.children[index].properties, expected[index]) << "item " << index;
    EXPECT_EQ(root.children[5].children.at(0).properties, (Properties{{"label", "Open App Page"}}));
    EXPECT_EQ(root.properties, (Properties{{"children-display", "submenu"}}));
}

TEST_F(StatusNotifierItemMenuTest, picturesThatComeLaterAreOneSignal) {
    FakeIcons bundleIcons;
    StatusNotifierBar barWithIcons(bus, &bundleIcons);
    item.reset();
    item = barWithIcons.makeStatusItem();
    ASSERT_TRUE(registered(2));
    const auto with = [](const char* bundle) {
        auto made = actionItem(bundle);
        made.image = BundleIcon{bundle};
        return made;
    };
    item->setMenu(menuOf({with("/Old.app")}));
    item->setMenu(menuOf({with("/A.app"), submenuItem("sub", {with("/B.app"), with("/C.app")})}));
    EXPECT_EQ(bundleIcons.listed, (std::vector<BundleIcon>{{"/A.app"}, {"/B.app"}, {"/C.app"}}));
    const auto root = panel->menu(name).root;
    const auto generic = root.named("/A.app").properties.at("icon-data");

    bundleIcons.come({{"/A.app", std::vector<std::uint8_t>(7)}, {"/C.app", std::vector<std::uint8_t>(8)}});
    bundleIcons.come({{"/Old.app", std::vector<std::uint8_t>(9)}});
    settle();
    using Update = std::map<std::int32_t, std::map<std::string, std::string>>;
    EXPECT_EQ(panel->propertyUpdates,
              std::vector{(Update{{root.named("/A.app").id, {{"icon-data", "7 bytes"}}},
                                  {root.named("/C.app").id, {{"icon-data", "8 bytes"}}}})});
    EXPECT_EQ(panel->layoutUpdates.size(), 2U) << "it is still the same menu";
    const auto after = panel->menu(name).root;
    EXPECT_EQ(after.named("/C.app").properties.at("icon-data"), "8 bytes");
    EXPECT_EQ(after.named("/B.app").properties.at("icon-data"), generic);
    item.reset();
    bundleIcons.come({{"/B.app", {}}});
}

TEST_F(StatusNotifierItemMenuTest, runsTheActionOfAChosenItemOnce) {
    const auto target = std::make_shared<CountingTarget>();
    const auto other = std::make_shared<CountingTarget>();
    auto disabled = actionItem("disabled", other);
    disabled.isEnabled = false;
    item->setMenu(
        menuOf({actionItem("other", other), submenuItem("sub", {actionItem("it", target)}), disabled}));
    const auto root = panel->menu(name).root;
    EXPECT_TRUE(panel->click(name, root.named("it").id, "hovered"));
    EXPECT_TRUE(panel->click(name, root.named("it").id, "opened"));
    EXPECT_TRUE(panel->click(name, root.named("disabled").id));
    EXPECT_TRUE(panel->click(name, root.named("sub").id));
    EXPECT_TRUE(panel->click(name, root.named("it").id));
    EXPECT_TRUE(runUntil(queue, [&] { return target->count > 0; }));
    settle();
    EXPECT_EQ(target->count, 1);
    EXPECT_EQ(other->count, 0);
}

/// Choosing "Color Icon" brings a new menu while the action of the old one still runs.
TEST_F(StatusNotifierItemMenuTest, letsAnActionReplaceTheMenuThatHoldsIt) {
    auto target = std::make_shared<CountingTarget>();
    const std::weak_ptr<CountingTarget> watched = target;
    bool wasAlive = false, isDone = false;
    target->andThen = [&] {
        item->setMenu(menuOf({actionItem("new")}));
        wasAlive = !watched.expired();
        isDone = true;
    };
    item->setMenu(menuOf({actionItem("old", std::move(target))}));
    EXPECT_TRUE(panel->click(name, panel->menu(name).root.named("old").id));
    ASSERT_TRUE(runUntil(queue, [&] { return isDone; }));
    EXPECT_TRUE(wasAlive);
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(panel->menu(name).root.named("new").properties.size(), 1U);
}

TEST_F(StatusNotifierItemMenuTest, answersTheCallsForManyItemsAtOnce) {
    const auto target = std::make_shared<CountingTarget>();
    item->setMenu(menuOf({actionItem("gone")}));
    const auto stale = panel->menu(name).root.named("gone").id;
    item->setMenu(menuOf({actionItem("a", target), MenuItem::separator()}));
    const auto id = panel->menu(name).root.named("a").id;
    EXPECT_FALSE(panel->click(name, stale)) << "an item of the old menu was taken for one of the new";
    const auto on = [&](const char* member, const char* types, auto... arguments) {
        return panel->call(name, "/MenuBar", menuInterface, member, types, arguments...);
    };
    const auto unknownEvents = on("EventGroup", "a(isvu)", 3, id, "clicked", "s", "", 0U, stale, "clicked",
                                  "i", 7, 0U, id, "opened", "s", "", 0U);
    EXPECT_EQ(numbers(unknownEvents), std::vector{stale});
    EXPECT_TRUE(runUntil(queue, [&] { return target->count == 1; }));

    const auto aboutToShow = on("AboutToShowGroup", "ai", 3, 0, stale, id);
    EXPECT_TRUE(numbers(aboutToShow).empty()) << "nothing is filled in on showing";
    EXPECT_EQ(numbers(aboutToShow), std::vector{stale});

    const auto group = on("GetGroupProperties", "aias", 2, stale, id, 1, "label");
    int onlyId = 0;
    const char *property = nullptr, *label = nullptr;
    require(sd_bus_message_read(group.get(), "a(ia{sv})", 1, &onlyId, 1, &property, "s", &label));
    EXPECT_EQ(onlyId, id);
    EXPECT_STREQ(label, "a");

    const auto type = on("GetProperty", "is", id + 1, "type");
    require(sd_bus_message_read(type.get(), "v", "s", &label));
    EXPECT_STREQ(label, "separator");
    for (const auto& reply : {on("GetProperty", "is", stale, "label"), on("GetLayout", "iias", stale, -1, 0),
                              on("AboutToShow", "i", stale), on("GetProperty", "is", id, "nonsense")}) {
        EXPECT_TRUE(sd_bus_message_is_method_error(reply.get(), SD_BUS_ERROR_INVALID_ARGS));
    }
}

TEST_F(StatusNotifierItemMenuTest, goesNoDeeperThanAsked) {
    item->setMenu(menuOf({submenuItem("a", {submenuItem("b", {actionItem("c")})})}));
    const std::size_t expected[] = {0, 1, 2, 3};
    for (int depth = 0; depth < 4; ++depth) {
        const auto reply =
            panel->call(name, "/MenuBar", menuInterface, "GetLayout", "iias", 0, depth, 1, "label");
        std::size_t levels = 0;
        std::uint32_t revision = 0;
        require(sd_bus_message_read(reply.get(), "u", &revision));
        require(sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}av"));
        for (require(sd_bus_message_skip(reply.get(), "ia{sv}"));; ++levels) {
            require(sd_bus_message_enter_container(reply.get(), 'a', "v"));
            if (require(sd_bus_message_at_end(reply.get(), 0)) > 0) break;
            require(sd_bus_message_enter_container(reply.get(), 'v', "(ia{sv}av)"));
            require(sd_bus_message_enter_container(reply.get(), 'r', "ia{sv}av"));
            require(sd_bus_message_skip(reply.get(), "ia{sv}"));
        }
        EXPECT_EQ(levels, expected[depth]) << "depth " << depth;
    }
}

std::shared_ptr<const Menu> largeMenu(const std::shared_ptr<int>& alive) {
    std::vector<MenuItem> items;
    for (int count = 0; count < 30; ++count) {
        auto target = std::make_shared<CountingTarget>();
        target->andThen = [alive] {};
        items.push_back(actionItem("An item with a name of some length", std::move(target)));
    }
    return menuOf({submenuItem("updates", std::move(items)), actionItem("Quit")});
}

TEST_F(StatusNotifierItemMenuTest, keepsNothingOfTheMenusThatItReplaced) {
    constexpr std::uint32_t replacements = 500;
    const auto alive = std::make_shared<int>();
    for (std::uint32_t count = 1; count <= replacements; ++count)
        item->setMenu(largeMenu(alive));
    EXPECT_EQ(panel->menu(name).revision, replacements);
    EXPECT_EQ(panel->layoutUpdates.size(), replacements);
    EXPECT_EQ(alive.use_count(), 1 + 30) << "menus that were replaced are still there";
}

}  // namespace
}  // namespace quorvel
