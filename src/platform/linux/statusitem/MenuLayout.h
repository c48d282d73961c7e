#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "platform/Menu.h"
#include "platform/linux/icons/IconProvider.h"
#include "platform/painterprotocol/MenuContent.h"

namespace quorvel {

/// A menu as those see it who show it and send back what was chosen: a tree of ids. The ids of a menu are
/// never those of a menu before it, so that a host which still shows the old one cannot choose an item that
/// has taken its place. Knows no bus.
class MenuLayout {
public:
    using Id = std::int32_t;
    /// The menu itself, whichever it is.
    static constexpr Id root = 0;
    /// Of one menu or submenu; a longer one ends with an item that counts the rest. Panels fetch a menu
    /// whole, and the time that one takes to build its own rises with the square of the length: half a second
    /// here, half a minute at ten times as many.
    static constexpr std::size_t maxItems = 1'000;

    explicit MenuLayout(IconProvider* iconProvider = nullptr) : icons(iconProvider) {}

    void setMenu(std::shared_ptr<const Menu> newMenu);

    /// Rises by one with each menu.
    std::uint32_t revision() const { return currentRevision; }

    bool contains(Id id) const { return find(id) != nullptr; }
    /// Null for the root and for an id that the menu does not have.
    const MenuItem* item(Id id) const;
    /// The items of the present menu in their order, the root first; ids follow one another.
    std::vector<Id> all() const;
    /// Empty for an id that the menu does not have, as for an item without a submenu.
    std::vector<Id> children(Id id) const;
    /// What choosing the item calls; none for an id that the menu does not have and for an item that cannot
    /// be chosen.
    std::shared_ptr<MenuTarget> target(Id id) const;
    /// The whole menu, for those who show it by themselves; its numbers are the ids.
    MenuContent content() const { return {contents(root)}; }

    /// A PNG file of what stands for an application whose own picture is not there.
    static std::vector<std::uint8_t> genericIcon();
    /// A PNG file of the picture, or else of the generic icon.
    std::vector<std::uint8_t> picture(const BundleIcon& image) const;
    /// The pictures that items of the present menu have.
    std::vector<BundleIcon> images() const;

private:
    struct Node {
        /// None for the root.
        const MenuItem* item = nullptr;
        std::size_t firstChild = 0;
        std::size_t childCount = 0;
    };

    void add(const Menu& submenu, std::size_t parent);
    const Node* find(Id id) const;
    /// Not of the root.
    Id idAt(std::size_t index) const { return firstId + static_cast<Id>(index - 1); }
    std::vector<MenuContent::Item> contents(Id parent) const;

    IconProvider* icons;
    std::shared_ptr<const Menu> menu;
    std::uint32_t currentRevision = 0;
    /// The id of the item that follows the root.
    Id firstId = 1;
    /// The root first, then level by level, so that the children of each stand together.
    std::vector<Node> nodes = std::vector<Node>(1);
    /// The last items of menus that are too long.
    std::deque<MenuItem> remainders;
};

}  // namespace quorvel
