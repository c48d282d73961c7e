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

/// A piece of a title, in UTF-8: our own text, or one as it came from a bundle or the catalog.
struct TitleRun {
    std::string text;
    bool isFromOutside = false;
};

/// One item of a menu, as a value.
struct MenuItem {
    enum class State { none, off, on };

    static MenuItem separator() {
        MenuItem item;
        item.isSeparator = true;
        return item;
    }

    bool isSeparator = false;
    std::vector<TitleRun> title;
    /// The second line, in the small system font and the secondary label colour; empty for most items.
    std::vector<TitleRun> detail;
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

/// The title of `item` as a menu can draw it: valid UTF-8 on one line or, parted by line feeds, a few; no
/// control characters; what is too wide cut with "…". A right-to-left text beside others is a bidi isolate,
/// so that "1.0 → 2.0" reads that way round.
std::string displayTitle(const MenuItem& item);

/// A menu is never changed: a new state makes a new menu.
struct Menu {
    std::vector<MenuItem> items;
};

}  // namespace quorvel
