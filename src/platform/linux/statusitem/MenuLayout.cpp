#include "platform/linux/statusitem/MenuLayout.h"

#include <algorithm>
#include <limits>
#include <ranges>
#include <string>
#include <utility>

#include "platform/linux/statusitem/ImageResources.h"

namespace quorvel {

namespace {

MenuItem remainder(std::size_t count) {
    MenuItem item;
    item.title = {{"… and " + std::to_string(count) + " more"}};
    item.isEnabled = false;
    return item;
}

}  // namespace

void MenuLayout::setMenu(std::shared_ptr<const Menu> newMenu) {
    const auto oldCount = static_cast<Id>(nodes.size() - 1);
    nodes.assign(1, {});
    remainders.clear();
    menu = std::move(newMenu);
    ++currentRevision;
    if (menu) add(*menu, 0);
    for (std::size_t index = 1; index < nodes.size(); ++index) {
        if (const auto& submenu = nodes[index].item->submenu) add(*submenu, index);
    }
    nodes.shrink_to_fit();
    firstId += oldCount;
    // After two thousand million items the ids start again.
    if (std::cmp_greater(nodes.size(), std::numeric_limits<Id>::max() - firstId)) firstId = 1;
}

void MenuLayout::add(const Menu& submenu, std::size_t parent) {
    nodes[parent].firstChild = nodes.size();
    for (const auto& item : submenu.items | std::views::take(maxItems))
        nodes.push_back({.item = &item});
    if (submenu.items.size() > maxItems) {
        remainders.push_back(remainder(submenu.items.size() - maxItems));
        nodes.push_back({.item = &remainders.back()});
    }
    nodes[parent].childCount = nodes.size() - nodes[parent].firstChild;
}

const MenuLayout::Node* MenuLayout::find(Id id) const {
    if (id == root) return &nodes.front();
    if (id < firstId) return nullptr;
    const auto index = static_cast<std::size_t>(id - firstId) + 1;
    return index < nodes.size() ? &nodes[index] : nullptr;
}

const MenuItem* MenuLayout::item(Id id) const {
    const auto* const node = find(id);
    return node ? node->item : nullptr;
}

std::vector<MenuLayout::Id> MenuLayout::all() const {
    std::vector<Id> ids{root};
    for (std::size_t index = 1; index < nodes.size(); ++index)
        ids.push_back(idAt(index));
    return ids;
}

std::vector<MenuLayout::Id> MenuLayout::children(Id id) const {
    std::vector<Id> ids;
    const auto* const node = find(id);
    for (std::size_t offset = 0; node && offset < node->childCount; ++offset)
        ids.push_back(idAt(node->firstChild + offset));
    return ids;
}

std::shared_ptr<MenuTarget> MenuLayout::target(Id id) const {
    const auto* const chosen = item(id);
    const bool canBeChosen = chosen && chosen->isEnabled && !chosen->isSeparator;
    return canBeChosen ? chosen->target.lock() : nullptr;
}

std::vector<MenuContent::Item> MenuLayout::contents(Id parent) const {
    std::vector<MenuContent::Item> items;
    for (const Id id : children(parent)) {
        const auto& shown = *item(id);
        auto& content = items.emplace_back();
        content.isSeparator = shown.isSeparator;
        if (shown.isSeparator) continue;
        content.number = static_cast<std::uint64_t>(id);
        content.title = displayTitle(shown);
        content.keyEquivalent = shown.keyEquivalent;
        content.isEnabled = shown.isEnabled;
        content.state = shown.state;
        if (shown.image) content.picture = picture(*shown.image);
        if (shown.submenu) content.submenu = contents(id);
    }
    return items;
}

/// It goes by no name of an icon theme: hosts differ in whether a picture that comes later takes the place of
/// a named one, but all let one picture take the place of another.
std::vector<std::uint8_t> MenuLayout::genericIcon() {
    const auto pictures = embeddedPictures();
    const auto found = std::ranges::find(pictures, "GenericApplicationIcon", &EmbeddedPicture::name);
    const auto png = found->pngs.front();
    return {png.begin(), png.end()};
}

std::vector<std::uint8_t> MenuLayout::picture(const BundleIcon& image) const {
    auto png = icons ? icons->pngFor(image) : std::nullopt;
    return png ? *std::move(png) : genericIcon();
}

std::vector<BundleIcon> MenuLayout::images() const {
    std::vector<BundleIcon> images;
    for (const Node& node : nodes) {
        if (node.item && node.item->image) images.push_back(*node.item->image);
    }
    return images;
}

}  // namespace quorvel
