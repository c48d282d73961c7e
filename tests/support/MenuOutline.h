#pragma once

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

#include "platform/Menu.h"

namespace quorvel {

/// Whether the user can choose the item itself, rather than open it or only read it.
inline bool isChoosable(const MenuItem& item) {
    return item.isEnabled && !item.isSeparator && !item.submenu;
}

/// The title of an item without its second line.
inline std::string titleOf(const MenuItem& item) {
    std::string text;
    for (const auto& run : item.title)
        text += run.text;
    return text;
}

/// What comes from outside stands in angle brackets.
inline std::string markedText(const std::vector<TitleRun>& runs) {
    std::string text;
    for (const auto& run : runs)
        text += run.isFromOutside ? "<" + run.text + ">" : run.text;
    return text;
}

/// Every item that can be chosen has a target, kept alive by nothing but the item; no other item has one.
inline void expectWired(const MenuItem& item) {
    EXPECT_EQ(item.target.lock(), item.representedObject) << titleOf(item);
    EXPECT_EQ(item.representedObject != nullptr, isChoosable(item)) << titleOf(item);
    if (isChoosable(item)) {
        EXPECT_EQ(item.representedObject.use_count(), 1) << titleOf(item);
    }
}

/// An item as a line: "(on) " and "(off) " for check marks, "!" before what is disabled, the second line of a
/// title after " | ", a key after " ^".
inline std::string lineOf(const MenuItem& item) {
    if (item.isSeparator) return "---\n";
    std::string text = item.isEnabled ? "" : "!";
    if (item.state != MenuItem::State::none) text += item.state == MenuItem::State::on ? "(on) " : "(off) ";
    text += markedText(item.title);
    if (!item.detail.empty()) text += " | " + markedText(item.detail);
    if (!item.keyEquivalent.empty()) text += " ^" + item.keyEquivalent;
    return text + "\n";
}

/// The menu as text, submenus indented. Checks the wiring on its way.
inline std::string outline(const Menu& menu, const std::string& indent = "") {
    std::string text;
    for (const auto& item : menu.items) {
        expectWired(item);
        text += indent + lineOf(item);
        if (item.submenu) text += outline(*item.submenu, indent + "  ");
    }
    return text;
}

using MenuPath = std::initializer_list<std::string>;

/// The item below the titles of `path`; a title that ends in "…" names the first that begins so.
inline const MenuItem& itemAt(const Menu& menu, MenuPath path) {
    const Menu* level = &menu;
    const MenuItem* item = nullptr;
    for (const auto& title : path) {
        if (level == nullptr) throw std::out_of_range("no submenu above " + title);
        item = nullptr;
        const bool isPrefix = title.ends_with("…");
        const auto wanted = isPrefix ? title.substr(0, title.size() - std::string("…").size()) : title;
        for (const auto& candidate : level->items) {
            const bool fits =
                isPrefix ? titleOf(candidate).starts_with(wanted) : titleOf(candidate) == wanted;
            if (fits && item == nullptr) item = &candidate;
        }
        if (item == nullptr) throw std::out_of_range("no menu item " + title);
        level = item->submenu.get();
    }
    return *item;
}

/// The user's choice of an item. Nothing here keeps its target alive while the action runs.
inline void choose(const Menu& menu, MenuPath path) {
    const auto& item = itemAt(menu, path);
    if (!isChoosable(item)) throw std::logic_error("nobody can choose " + titleOf(item));
    MenuTarget* const target = item.target.lock().get();
    target->menuAction();
}

}  // namespace quorvel
