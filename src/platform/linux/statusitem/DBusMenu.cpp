#include "platform/linux/statusitem/DBusMenu.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/bus/BusCallback.h"
#include "platform/linux/bus/BusMessage.h"

namespace quorvel {

namespace {

using Id = MenuLayout::Id;

constexpr const char* interfaceName = "com.canonical.dbusmenu";

void append(sd_bus_message* message, const MenuProperty::Shortcut& shortcut) {
    appendContainer(message, 'a', "as", [&] {
        for (const auto& keys : shortcut)
            appendStrings(message, keys);
    });
}

void append(sd_bus_message* message, const MenuProperty::Value& value) {
    const auto variant = [message](const char* type, const void* basic) {
        appendContainer(message, 'v', type,
                        [&] { require(sd_bus_message_append_basic(message, *type, basic)); });
    };
    if (const auto* truth = std::get_if<bool>(&value)) {
        const int wide = *truth ? 1 : 0;
        return variant("b", &wide);
    }
    if (const auto* number = std::get_if<std::int32_t>(&value)) return variant("i", number);
    if (const auto* text = std::get_if<std::string>(&value)) return variant("s", text->c_str());
    if (const auto* shortcut = std::get_if<MenuProperty::Shortcut>(&value))
        return appendContainer(message, 'v', "aas", [&] { append(message, *shortcut); });
    const auto& bytes = std::get<std::vector<std::uint8_t>>(value);
    appendContainer(message, 'v', "ay",
                    [&] { require(sd_bus_message_append_array(message, 'y', bytes.data(), bytes.size())); });
}

/// Only those in `names`; all when there are no names.
void append(sd_bus_message* message, const MenuProperties& properties,
            const std::vector<std::string>& names) {
    appendContainer(message, 'a', "{sv}", [&] {
        for (const auto& property : properties) {
            if (!names.empty() && std::ranges::find(names, property.name) == names.end()) continue;
            appendContainer(message, 'e', "sv", [&] {
                require(sd_bus_message_append_basic(message, 's', property.name.data()));
                append(message, property.value);
            });
        }
    });
}

/// An item with those below it, `depth` levels down; below zero, all.
void append(sd_bus_message* message, const MenuLayout& layout, Id id, std::int32_t depth,
            const std::vector<std::string>& names) {
    appendContainer(message, 'r', "ia{sv}av", [&] {
        require(sd_bus_message_append_basic(message, 'i', &id));
        append(message, layout.properties(id), names);
        appendContainer(message, 'a', "v", [&] {
            if (depth == 0) return;
            for (const Id child : layout.children(id)) {
                appendContainer(message, 'v', "(ia{sv}av)", [&] {
                    append(message, layout, child, depth > 0 ? depth - 1 : depth, names);
                });
            }
        });
    });
}

int noSuchItem(sd_bus_message* call, Id id) {
    return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "The menu has no item %d.", id);
}

}  // namespace

const sd_bus_vtable* DBusMenu::vtable() {
    static const sd_bus_vtable members[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_PROPERTY("Version", "u", busProperty<&DBusMenu::version>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("TextDirection", "s", busProperty<&DBusMenu::textDirection>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("Status", "s", busProperty<&DBusMenu::status>, 0, SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_PROPERTY("IconThemePath", "as", busProperty<&DBusMenu::iconThemePath>, 0,
                        SD_BUS_VTABLE_PROPERTY_CONST),
        SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", busCall<&DBusMenu::getLayout>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("GetGroupProperties", "aias", "a(ia{sv})", busCall<&DBusMenu::getGroupProperties>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("GetProperty", "is", "v", busCall<&DBusMenu::getProperty>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("Event", "isvu", "", busCall<&DBusMenu::event>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("EventGroup", "a(isvu)", "ai", busCall<&DBusMenu::eventGroup>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("AboutToShow", "i", "b", busCall<&DBusMenu::aboutToShow>, SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_METHOD("AboutToShowGroup", "ai", "aiai", busCall<&DBusMenu::aboutToShowGroup>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_SIGNAL("ItemsPropertiesUpdated", "a(ia{sv})a(ias)", 0),
        SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
        SD_BUS_SIGNAL("ItemActivationRequested", "iu", 0),
        SD_BUS_VTABLE_END,
    };
    return members;
}

DBusMenu::DBusMenu(SessionBus& sessionBus, IconProvider* menuIcons)
    : bus(sessionBus), icons(menuIcons), layout(menuIcons) {
    if (icons) arrival = icons->onArrival([this](const auto& arrived) { announce(arrived); });
    if (!bus.connection()) return;
    sd_bus_slot* slot = nullptr;
    require(sd_bus_add_object_vtable(bus.connection(), &slot, path, interfaceName, vtable(), this));
    objectSlot.reset(slot);
}

void DBusMenu::setMenu(std::shared_ptr<const Menu> menu) {
    layout.setMenu(std::move(menu));
    if (icons) icons->setListed(layout.images());
    // The whole menu is new, from its root on. A signal that cannot be sent means that the bus is lost.
    if (auto* const connection = bus.connection())
        sd_bus_emit_signal(connection, path, interfaceName, "LayoutUpdated", "ui", layout.revision(),
                           MenuLayout::root);
}

/// One signal for all. As for a new menu, one that cannot be sent means that the bus is lost.
void DBusMenu::announce(const std::vector<BundleIcon>& arrived) {
    const auto ids = layout.itemsWith(arrived);
    sd_bus_message* made = nullptr;
    if (ids.empty() || !bus.connection() ||
        sd_bus_message_new_signal(bus.connection(), &made, path, interfaceName, "ItemsPropertiesUpdated") < 0)
        return;
    const BusMessage signal(made);
    appendContainer(made, 'a', "(ia{sv})", [&] {
        for (const Id id : ids) {
            appendContainer(made, 'r', "ia{sv}", [&] {
                require(sd_bus_message_append(made, "i", id));
                append(made, layout.properties(id), {"icon-data"});
            });
        }
    });
    require(sd_bus_message_append(made, "a(ias)", 0));
    sd_bus_send(bus.connection(), made, nullptr);
}

int DBusMenu::version(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "u", 3U);
}

int DBusMenu::textDirection(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "ltr");
}

int DBusMenu::status(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "s", "normal");
}

int DBusMenu::iconThemePath(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "as", 0);
}

int DBusMenu::getLayout(sd_bus_message* call) {
    Id parent = 0;
    std::int32_t depth = 0;
    require(sd_bus_message_read(call, "ii", &parent, &depth));
    const auto names = readStrings(call);
    if (!layout.contains(parent)) return noSuchItem(call, parent);
    const auto reply = makeReply(call);
    require(sd_bus_message_append(reply.get(), "u", layout.revision()));
    append(reply.get(), layout, parent, depth, names);
    return send(reply);
}

int DBusMenu::getGroupProperties(sd_bus_message* call) {
    auto ids = readNumbers(call);
    const auto names = readStrings(call);
    if (ids.empty()) ids = layout.all();
    const auto reply = makeReply(call);
    appendContainer(reply.get(), 'a', "(ia{sv})", [&] {
        for (const Id id : ids) {
            if (!layout.contains(id)) continue;
            appendContainer(reply.get(), 'r', "ia{sv}", [&] {
                require(sd_bus_message_append(reply.get(), "i", id));
                append(reply.get(), layout.properties(id), names);
            });
        }
    });
    return send(reply);
}

int DBusMenu::getProperty(sd_bus_message* call) {
    Id id = 0;
    const char* name = nullptr;
    require(sd_bus_message_read(call, "is", &id, &name));
    if (!layout.contains(id)) return noSuchItem(call, id);
    const auto properties = layout.properties(id);
    const auto property = std::ranges::find(properties, std::string_view(name), &MenuProperty::name);
    if (property == properties.end())
        return sd_bus_reply_method_errorf(call, SD_BUS_ERROR_INVALID_ARGS, "Item %d has the default \"%s\".",
                                          id, name);
    const auto reply = makeReply(call);
    append(reply.get(), property->value);
    return send(reply);
}

/// False for an item that the menu does not have.
bool DBusMenu::receive(Id id, std::string_view eventName) {
    if (!layout.contains(id)) return false;
    auto target = layout.target(id);
    // The task holds the target: the action itself may bring the menu that takes the place of this one.
    if (target && eventName == "clicked")
        bus.queue().post([target = std::move(target)] { target->menuAction(); });
    return true;
}

int DBusMenu::event(sd_bus_message* call) {
    Id id = 0;
    const char* name = nullptr;
    require(sd_bus_message_read(call, "is", &id, &name));
    if (!receive(id, name)) return noSuchItem(call, id);
    return sd_bus_reply_method_return(call, "");
}

int DBusMenu::eventGroup(sd_bus_message* call) {
    std::vector<Id> unknown;
    require(sd_bus_message_enter_container(call, 'a', "(isvu)"));
    while (require(sd_bus_message_enter_container(call, 'r', "isvu")) > 0) {
        Id id = 0;
        const char* name = nullptr;
        require(sd_bus_message_read(call, "is", &id, &name));
        if (!receive(id, name)) unknown.push_back(id);
        require(sd_bus_message_skip(call, "vu"));
        require(sd_bus_message_exit_container(call));
    }
    const auto reply = makeReply(call);
    appendNumbers(reply.get(), unknown);
    return send(reply);
}

/// The menu is complete whenever a host asks: it need not read it again before showing it.
int DBusMenu::aboutToShow(sd_bus_message* call) {
    Id id = 0;
    require(sd_bus_message_read(call, "i", &id));
    if (!layout.contains(id)) return noSuchItem(call, id);
    return sd_bus_reply_method_return(call, "b", 0);
}

int DBusMenu::aboutToShowGroup(sd_bus_message* call) {
    auto unknown = readNumbers(call);
    std::erase_if(unknown, [this](Id id) { return layout.contains(id); });
    const auto reply = makeReply(call);
    appendNumbers(reply.get(), {});
    appendNumbers(reply.get(), unknown);
    return send(reply);
}

}  // namespace quorvel
