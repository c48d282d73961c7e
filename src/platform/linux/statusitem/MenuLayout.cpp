#include "platform/linux/statusitem/MenuLayout.h"

#include <algorithm>
#include <limits>
#include <ranges>
#include <set>
#include <utility>

#include "platform/linux/statusitem/EmbeddedPictures.h"

namespace quorvel {

namespace {

/// A single underscore would vanish and underline the character behind it.
std::string withDoubledUnderscores(std::string_view title) {
    std::string label;
    label.reserve(title.size());
    for (const char byte : title) {
        if (byte == '_') label += '_';
        label += byte;
    }
    return label;
}

std::vector<std::uint8_t> pictureOf(const BundleIcon& image, IconProvider* icons) {
    auto png = icons ? icons->pngFor(image) : std::nullopt;
    return png ? *std::move(png) : MenuLayout::genericIcon();
}

MenuProperties propertiesOf(const MenuItem& item, IconProvider* icons) {
    if (item.isSeparator) return {{"type", std::string("separator")}};
    MenuProperties properties{{"label", withDoubledUnderscores(displayTitle(item))}};
    if (!item.isEnabled) properties.emplace_back("enabled", false);
    if (item.state != MenuItem::State::none) {
        properties.emplace_back("toggle-type", std::string("checkmark"));
        properties.emplace_back("toggle-state", item.state == MenuItem::State::on ? 1 : 0);
    }
    if (item.submenu) properties.emplace_back("children-display", std::string("submenu"));
    if (!item.keyEquivalent.empty())
        properties.emplace_back("shortcut", MenuProperty::Shortcut{{"Control", item.keyEquivalent}});
    if (item.image) properties.emplace_back("icon-data", pictureOf(*item.image, icons));
    return properties;
}

MenuItem remainder(std::size_t count) {
    MenuItem item;
    item.title = {{"… and " + std::to_string(count) + " more"}};
    item.isEnabled = false;
    return item;
}

}  // namespace

/// It goes by no name of an icon theme: hosts differ in whether a picture that comes later takes the place of
/// a named one, but all let one picture take the place of another.
std::vector<std::uint8_t> MenuLayout::genericIcon() {
    const auto pictures = embeddedPictures();
    const auto found = std::ranges::find(pictures, "GenericApplicationIcon", &EmbeddedPicture::name);
    const auto png = found->pngs.front();
    return {png.begin(), png.end()};
}

MenuLayout::MenuLayout(IconProvider* iconProvider) : icons(iconProvider) {}

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
    for (const auto& item : submenu.items | std::views::take(longestMenu))
        nodes.push_back({.item = &item});
    if (submenu.items.size() > longestMenu) {
        remainders.push_back(remainder(submenu.items.size() - longestMenu));
        nodes.push_back({.item = &remainders.back()});
    }
    nodes[parent].childCount = nodes.size() - nodes[parent].firstChild;
}

MenuLayout::Id MenuLayout::idAt(std::size_t index) const {
    return index == 0 ? root : firstId + static_cast<Id>(index - 1);
}

const MenuLayout::Node* MenuLayout::find(Id id) const {
    if (id == root) return &nodes.front();
    if (id < firstId) return nullptr;
    const auto index = static_cast<std::size_t>(id - firstId) + 1;
    return index < nodes.size() ? &nodes[index] : nullptr;
}

bool MenuLayout::contains(Id id) const {
    return find(id) != nullptr;
}

std::vector<MenuLayout::Id> MenuLayout::all() const {
    std::vector<Id> ids;
    ids.reserve(nodes.size());
    for (std::size_t index = 0; index < nodes.size(); ++index)
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

MenuProperties MenuLayout::properties(Id id) const {
    const auto* const node = find(id);
    if (!node) return {};
    if (!node->item) return {{"children-display", std::string("submenu")}};
    return propertiesOf(*node->item, icons);
}

std::vector<MenuContent::Item> MenuLayout::contents(Id parent) const {
    std::vector<MenuContent::Item> items;
    for (const Id id : children(parent)) {
        const auto& item = *find(id)->item;
        auto& content = items.emplace_back();
        content.isSeparator = item.isSeparator;
        if (item.isSeparator) continue;
        content.number = static_cast<std::uint64_t>(id);
        content.title = displayTitle(item);
        content.keyEquivalent = item.keyEquivalent;
        content.isEnabled = item.isEnabled;
        content.state = item.state;
        if (item.image) content.picture = pictureOf(*item.image, icons);
        if (item.submenu) content.submenu = contents(id);
    }
    return items;
}

std::vector<BundleIcon> MenuLayout::images() const {
    std::vector<BundleIcon> images;
    for (const auto& [item, firstChild, childCount] : nodes) {
        if (item && item->image) images.push_back(*item->image);
    }
    return images;
}

std::vector<MenuLayout::Id> MenuLayout::itemsWith(const std::vector<BundleIcon>& images) const {
    std::set<std::string_view> bundles;
    for (const auto& image : images)
        bundles.insert(image.bundle);
    std::vector<Id> ids;
    for (std::size_t index = 1; index < nodes.size(); ++index) {
        const auto& image = nodes[index].item->image;
        if (image && bundles.contains(image->bundle)) ids.push_back(idAt(index));
    }
    return ids;
}

std::shared_ptr<MenuTarget> MenuLayout::target(Id id) const {
    const auto* const node = find(id);
    const bool canBeChosen = node && node->item && node->item->isEnabled && !node->item->isSeparator;
    return canBeChosen ? node->item->target.lock() : nullptr;
}

}  // namespace quorvel
