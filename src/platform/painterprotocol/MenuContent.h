#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/Menu.h"

namespace quorvel {

/// A menu for those who show it and cannot call what its items call: a number stands for each item, and
/// titles are as they are drawn.
struct MenuContent {
    struct Item {
        bool isSeparator = false;
        /// Distinguishes the item from all others of this menu and of those before it.
        std::uint64_t number = 0;
        /// On one line or, parted by line feeds, a few.
        std::string title;
        std::string keyEquivalent;
        bool isEnabled = true;
        MenuItem::State state = MenuItem::State::none;
        /// A PNG file, shown at 16 by 16 points.
        std::optional<std::vector<std::uint8_t>> picture;
        std::optional<std::vector<Item>> submenu;
    };

    std::vector<Item> items;
};

}  // namespace quorvel
