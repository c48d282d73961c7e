#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/BundleIcon.h"

namespace quorvel {

/// What choosing a menu item calls.
class MenuTarget {
public:
    virtual ~MenuTarget() = default;
    virtual void menuAction() = 0;
};

struct Menu;

/// One item of a menu, as a value. Texts are UTF-8 as they came, from bundles and the catalog too: what shows
/// them makes them harmless.
struct MenuItem {
    enum class State { none, off, on };

    static MenuItem separator() {
        MenuItem item;
        item.isSeparator = true;
        return item;
    }

    /// The second line of a two-line item, in the small system font and the secondary label colour.
    struct AttributedTitle {
        std::string name;
        std::string detail;
    };

    bool isSeparator = false;
    std::string title;
    /// Shown in place of the title when there is one.
    std::optional<AttributedTitle> attributedTitle;
    /// A key that chooses the item together with the platform's command modifier; empty for most items.
    std::string keyEquivalent;
    bool isEnabled = true;
    /// Whether the item carries a check mark; `none` for an item that never does.
    State state = State::none;
    std::optional<BundleIcon> image;
    std::shared_ptr<const Menu> submenu;
    /// The receiver is held weakly; `representedObject` is what keeps it alive, exactly as long as the item.
    std::weak_ptr<MenuTarget> target;
    std::shared_ptr<MenuTarget> representedObject;
};

/// A menu is never changed: a new state makes a new menu.
struct Menu {
    std::vector<MenuItem> items;
};

}  // namespace quorvel
