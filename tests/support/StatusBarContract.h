#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "platform/StatusBar.h"
#include "platform/linux/statusitem/MenuSamples.h"

namespace quorvel {

/// What every status bar keeps to. The parameter is a fixture with an `item` and the user before it, who sees
/// `shownMenu`: "(on) " before a check mark, "!" before what is disabled, the second line of a title after
/// " | ", " *" after what has an icon, a key after " ^"; and `choose`s.
template <typename Bar>
class StatusBarContract : public Bar {};

TYPED_TEST_SUITE_P(StatusBarContract);

TYPED_TEST_P(StatusBarContract, showsTheNewestMenuItemByItem) {
    auto update = submenuItem("", {submenuItem("Open", {actionItem("App & Page")})});
    auto checked = actionItem("Color Icon"), unchecked = actionItem("Open at Login"),
         disabled = actionItem("No Updates"), quit = actionItem("Quit");
    update.title = {{"A_long\nname", true}};
    update.detail = {{"1.0"}, {" → "}, {"2.0"}};
    update.image = BundleIcon{SOURCE_ROOT "/demo/system/Applications/Amberleaf.app"};
    checked.state = MenuItem::State::on;
    unchecked.state = MenuItem::State::off;
    disabled.isEnabled = false;
    quit.keyEquivalent = "q";
    this->item->setMenu(menuOf({actionItem("before")}));
    this->item->setMenu(menuOf({update, MenuItem::separator(), checked, unchecked, disabled, quit}));
    EXPECT_EQ(this->shownMenu(),
              "A_long name | 1.0 → 2.0 *\n  Open\n    App & Page\n---\n"
              "(on) Color Icon\nOpen at Login\n!No Updates\nQuit ^q\n");
}

/// "Color Icon" brings a new menu while the action of the old one still runs.
TYPED_TEST_P(StatusBarContract, runsAChosenActionOnceAndKeepsTargetsExactlyAsLongAsTheirMenu) {
    std::vector<std::weak_ptr<CountingTarget>> targets;
    int chosen = 0;
    const auto setMenu = [&](std::function<void()> action) {
        auto target = std::make_shared<CountingTarget>();
        target->andThen = std::move(action);
        targets.push_back(target);
        this->item->setMenu(
            menuOf({actionItem("other"), submenuItem("sub", {actionItem("it", std::move(target))})}));
    };
    setMenu([&] {
        setMenu([] {});
        ++chosen;
        EXPECT_FALSE(targets[0].expired()) << "it is at work";
    });
    this->choose("it");
    EXPECT_EQ(chosen, 1);
    EXPECT_TRUE(targets[0].expired());
    EXPECT_FALSE(targets[1].expired());
}

REGISTER_TYPED_TEST_SUITE_P(StatusBarContract, showsTheNewestMenuItemByItem,
                            runsAChosenActionOnceAndKeepsTargetsExactlyAsLongAsTheirMenu);

}  // namespace quorvel
