#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Menu.h"

namespace quorvel {

/// Counts how often its item was chosen; `andThen` is what choosing does besides.
class CountingTarget final : public MenuTarget {
public:
    void menuAction() override {
        ++count;
        if (andThen) andThen();
    }

    int count = 0;
    std::function<void()> andThen;
};

/// An item whose action counts; the item keeps the target alive, as in every menu.
inline MenuItem actionItem(const std::string& title,
                           std::shared_ptr<CountingTarget> target = std::make_shared<CountingTarget>()) {
    MenuItem item;
    item.title = {{title}};
    item.target = target;
    item.representedObject = std::move(target);
    return item;
}

inline std::shared_ptr<const Menu> menuOf(std::vector<MenuItem> items) {
    return std::make_shared<const Menu>(Menu{std::move(items)});
}

inline MenuItem submenuItem(const std::string& title, std::vector<MenuItem> items) {
    MenuItem item;
    item.title = {{title}};
    item.submenu = menuOf(std::move(items));
    return item;
}

}  // namespace quorvel
