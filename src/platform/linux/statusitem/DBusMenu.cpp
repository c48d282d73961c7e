#include "platform/linux/statusitem/DBusMenu.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

namespace quorvel {

namespace {

using Id = MenuLayout::Id;

constexpr const char* interfaceName = "com.canonical.dbusmenu";

/// A single underscore would vanish and underline the character behind it.
std::string withDoubledUnderscores(std::string_view title) {
    std::string label;
    for (const char byte : title) {
        if (byte == '_') label += '_';
        label += byte;
    }
    return label;
}

/// Calls `property` with the name, the type and the values of each property that has not its default value.
template <typename Property>
void forEachProperty(const MenuLayout& layout, Id id, Property property) {
    const auto* const item = layout.item(id);
    if (!item) return property("children-display", "s", "submenu");
    if (item->isSeparator) return property("type", "s", "separator");
    property("label", "s", withDoubledUnderscores(displayTitle(*item)).c_str());
    if (!item->isEnabled) property("enabled", "b", 0);
    if (item->state != MenuItem::State::none) {
        property("toggle-type", "s", "checkmark");
        property("toggle-state", "i", item->state == MenuItem::State::on ? 1 : 0);
    }
    if (item->submenu) property("children-display", "s", "submenu");
    // A list of strokes, each a list of keys, modifiers first.
    if (!item->keyEquivalent.empty())
        property("shortcut", "aas", 1, 2, "Control", item->keyEquivalent.c_str());
    if (item->image) property("icon-data", "ay", layout.picture(*item->image));
}

template <typename... Values>
void appendVariant(sd_bus_message* message, const char* type, Values... values) {
    require(sd_bus_message_append(message, "v", type, values...));
}

void appendVariant(sd_bus_message* message, const char* type, const std::vector<std::uint8_t>& bytes) {
    appendContainer(message, 'v', type,
                    [&] { require(sd_bus_message_append_array(message, 'y', bytes.data(), bytes.size())); });
}

/// Only the properties in `names`; all when there are no names.
void appendProperties(sd_bus_message* message, const MenuLayout& layout, Id id,
                      const std::vector<std::string>& names) {
    appendContainer(message, 'a', "{sv}", [&] {
        forEachProperty(layout, id, [&](const char* name, const char* type, const auto&... values) {
            if (!names.empty() && std::ranges::find(names, name) == names.end()) return;
            appendContainer(message, 'e', "sv", [&] {
                require(sd_bus_message_append(message, "s", name));
                appendVariant(message, type, values...);
            });
        });
    });
}

void appendItems(sd_bus_message* message, const MenuLayout& layout, const std::vector<Id>& ids,
                 const std::vector<std::string>& names) {
    appendContainer(message, 'a', "(ia{sv})", [&] {
        for (const Id id : ids) {
            appendContainer(message, 'r', "ia{sv}", [&] {
                require(sd_bus_message_append(message, "i", id));
                appendProperties(message, layout, id, names);
            });
        }
    });
}

/// An item with those below it, `depth` levels down; below zero, all.
void appendTree(sd_bus_message* message, const MenuLayout& layout, Id id, std::int32_t depth,
                const std::vector<std::string>& names) {
    appendContainer(message, 'r', "ia{sv}av", [&] {
        require(sd_bus_message_append(message, "i", id));
        appendProperties(message, layout, id, names);
        appendContainer(message, 'a', "v", [&] {
            if (depth == 0) return;
            for (const Id child : layout.children(id)) {
                appendContainer(message, 'v', "(ia{sv}av)", [&] {
                    appendTree(message, layout, child, depth > 0 ? depth - 1 : depth, names);
                });
            }
        });
    });
}

}  // namespace

const sd_bus_vtable DBusMenu::vtable[] = {
    SD_BUS_VTABLE_START(0),
    busConstant<"u", 3U>("Version"),
    busText<"ltr">("TextDirection"),
    busText<"normal">("Status"),
    busConstant<"as", 0>("IconThemePath"),
    busMethod<&DBusMenu::getLayout>("GetLayout", "iias", "u(ia{sv}av)"),
    busMethod<&DBusMenu::getGroupProperties>("GetGroupProperties", "aias", "a(ia{sv})"),
    busMethod<&DBusMenu::getProperty>("GetProperty", "is", "v"),
    busMethod<&DBusMenu::event>("Event", "isvu", ""),
    busMethod<&DBusMenu::eventGroup>("EventGroup", "a(isvu)", "ai"),
    busMethod<&DBusMenu::aboutToShow>("AboutToShow", "i", "b"),
    busMethod<&DBusMenu::aboutToShowGroup>("AboutToShowGroup", "ai", "aiai"),
    SD_BUS_SIGNAL("ItemsPropertiesUpdated", "a(ia{sv})a(ias)", 0),
    SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
    SD_BUS_SIGNAL("ItemActivationRequested", "iu", 0),
    SD_BUS_VTABLE_END,
};

DBusMenu::DBusMenu(SessionBus& sessionBus, IconProvider* menuIcons)
    : bus(sessionBus), icons(menuIcons), layout(menuIcons) {
    if (icons) arrival = icons->onArrival([this](const auto& arrived) { announce(arrived); });
    if (bus.connection())
        require(sd_bus_add_object_vtable(bus.connection(), OutPtr(objectSlot), path, interfaceName, vtable,
                                         this));
}

void DBusMenu::setMenu(std::shared_ptr<const Menu> menu) {
    layout.setMenu(std::move(menu));
    if (icons) icons->setListed(layout.images());
    // The whole menu is new, from its root on. A signal that cannot be sent means that the bus is lost.
    sd_bus_emit_signal(bus.connection(), path, interfaceName, "LayoutUpdated", "ui", layout.revision(),
                       MenuLayout::root);
}

/// One signal for all. As for a new menu, one that cannot be sent means that the bus is lost.
void DBusMenu::announce(const std::vector<BundleIcon>& arrived) {
    auto ids = layout.all();
    std::erase_if(ids, [&](Id id) {
        const auto* const item = layout.item(id);
        return !item || !item->image || std::ranges::find(arrived, *item->image) == arrived.end();
    });
    BusMessage signal;
    if (ids.empty() || sd_bus_message_new_signal(bus.connection(), OutPtr(signal), path, interfaceName,
                                                 "ItemsPropertiesUpdated") < 0)
        return;
    appendItems(signal.get(), layout, ids, {"icon-data"});
    require(sd_bus_message_append(signal.get(), "a(ias)", 0));
    sd_bus_send(nullptr, signal.get(), nullptr);
}

/// The caller gets an error for an item that the menu does not have.
Id DBusMenu::readItem(sd_bus_message* call) const {
    Id id = 0;
    require(sd_bus_message_read(call, "i", &id));
    require(layout.contains(id) ? 0 : -EINVAL);
    return id;
}

int DBusMenu::getLayout(sd_bus_message* call) {
    const Id parent = readItem(call);
    std::int32_t depth = 0;
    require(sd_bus_message_read(call, "i", &depth));
    const auto names = readTexts(call);
    return reply(call, [&](sd_bus_message* message) {
        require(sd_bus_message_append(message, "u", layout.revision()));
        appendTree(message, layout, parent, depth, names);
    });
}

int DBusMenu::getGroupProperties(sd_bus_message* call) {
    auto ids = readNumbers(call);
    const auto names = readTexts(call);
    if (ids.empty()) ids = layout.all();
    std::erase_if(ids, [this](Id id) { return !layout.contains(id); });
    return reply(call, [&](sd_bus_message* message) { appendItems(message, layout, ids, names); });
}

int DBusMenu::getProperty(sd_bus_message* call) {
    const Id id = readItem(call);
    const auto wanted = readText(call);
    return reply(call, [&](sd_bus_message* message) {
        bool isListed = false;
        forEachProperty(layout, id, [&](const char* name, const char* type, const auto&... values) {
            if (name != wanted) return;
            isListed = true;
            appendVariant(message, type, values...);
        });
        require(isListed ? 0 : -EINVAL);
    });
}

void DBusMenu::handle(Id id, std::string_view eventName) {
    auto target = layout.target(id);
    // The task holds the target: the action itself may bring the menu that takes the place of this one.
    if (target && eventName == "clicked")
        bus.queue().post([target = std::move(target)] { target->menuAction(); });
}

int DBusMenu::event(sd_bus_message* call) {
    const Id id = readItem(call);
    handle(id, readText(call));
    return sd_bus_reply_method_return(call, "");
}

int DBusMenu::eventGroup(sd_bus_message* call) {
    std::vector<Id> unknown;
    readArray(call, "(isvu)", [&] {
        readContainer(call, 'r', "isvu", [&] {
            Id id = 0;
            const char* name = nullptr;
            require(sd_bus_message_read(call, "is", &id, &name));
            handle(id, name);
            if (!layout.contains(id)) unknown.push_back(id);
            require(sd_bus_message_skip(call, "vu"));
        });
    });
    return reply(call, [&](sd_bus_message* message) { appendNumbers(message, unknown); });
}

/// The menu is complete whenever a host asks: it need not read it again before showing it.
int DBusMenu::aboutToShow(sd_bus_message* call) {
    readItem(call);
    return sd_bus_reply_method_return(call, "b", 0);
}

int DBusMenu::aboutToShowGroup(sd_bus_message* call) {
    auto unknown = readNumbers(call);
    std::erase_if(unknown, [this](Id id) { return layout.contains(id); });
    return reply(call, [&](sd_bus_message* message) {
        appendNumbers(message, {});
        appendNumbers(message, unknown);
    });
}

}  // namespace quorvel
