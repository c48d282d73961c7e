#include "support/FakePanel.h"

#include <gtest/gtest.h>
#include <string_view>

namespace quorvel {

namespace {

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* menuInterface = "com.canonical.dbusmenu";

std::string readBasic(sd_bus_message* message, char type) {
    if (type == 's') return readText(message);
    if (const char* path = nullptr; type == 'o') {
        require(sd_bus_message_read(message, "o", &path));
        return '<' + std::string(path) + '>';
    }
    // A byte goes to the first of the four.
    std::int32_t number = 0;
    require(sd_bus_message_read_basic(message, type, &number));
    return type == 'b' ? (number != 0 ? "true" : "false") : std::to_string(number);
}

/// The next value.
std::string readValue(sd_bus_message* message) {
    char type = 0;
    const char* contents = nullptr;
    require(sd_bus_message_peek_type(message, &type, &contents));
    if (!contents) return readBasic(message, type);
    std::string text;
    std::size_t count = 0;
    readContainer(message, type, contents, [&] {
        for (; require(sd_bus_message_at_end(message, 0)) == 0; ++count)
            text += (count == 0 ? "" : type == 'e' ? "=" : " ") + readValue(message);
    });
    if (type == 'a' && *contents == 'y' && count > 16) return std::to_string(count) + " bytes";
    if (type == 'a') return '[' + text + ']';
    return type == 'r' ? '(' + text + ')' : text;
}

std::string readAll(sd_bus_message* message) {
    std::string text;
    while (require(sd_bus_message_at_end(message, 1)) == 0)
        text += (text.empty() ? "" : " ") + readValue(message);
    return text;
}

ShownItem readItem(sd_bus_message* message) {
    ShownItem item;
    readContainer(message, 'r', "ia{sv}av", [&] {
        require(sd_bus_message_read(message, "i", &item.id));
        readArray(message, "{sv}", [&] {
            readContainer(message, 'e', "sv", [&] {
                const auto name = readText(message);
                item.properties[name] = readValue(message);
            });
        });
        readArray(message, "v", [&] {
            readContainer(message, 'v', "(ia{sv}av)", [&] { item.children.push_back(readItem(message)); });
        });
    });
    return item;
}

}  // namespace

const ShownItem* ShownItem::find(const std::string& label) const {
    if (const auto found = properties.find("label"); found != properties.end() && found->second == label)
        return this;
    for (const auto& child : children) {
        if (const auto* item = child.find(label)) return item;
    }
    return nullptr;
}

const ShownItem& ShownItem::named(const std::string& label) const {
    static const ShownItem none;
    const auto* item = find(label);
    EXPECT_NE(item, nullptr) << "the menu has no item \"" << label << '"';
    return item ? *item : none;
}

std::string outline(const ShownItem& menu, const std::string& indent) {
    std::string text;
    for (const auto& item : menu.children) {
        const auto has = [&](const std::string& name, const std::string& value) {
            const auto property = item.properties.find(name);
            return property != item.properties.end() && property->second == value;
        };
        EXPECT_EQ(has("children-display", "submenu"), !item.children.empty());
        std::string line = has("type", "separator") ? "---" : item.properties.at("label");
        if (const auto end = line.find('\n'); end != std::string::npos) line.replace(end, 1, " | ");
        // A doubled underscore is shown as one.
        if (const auto pair = line.find("__"); pair != std::string::npos) line.erase(pair, 1);
        text += indent + (has("enabled", "false") ? "!" : "") +
                (has("toggle-type", "checkmark") && has("toggle-state", "1") ? "(on) " : "") + line +
                (item.properties.contains("icon-data") ? " *" : "") +
                (has("shortcut", "[[Control q]]") ? " ^q" : "") + "\n" + outline(item, indent + "  ");
    }
    return text;
}

const sd_bus_vtable FakePanel::vtable[] = {
    SD_BUS_VTABLE_START(0),
    busMethod<&FakePanel::registerItem>("RegisterStatusNotifierItem", "s", ""),
    busProperty<&FakePanel::isHostRegistered>("IsStatusNotifierHostRegistered", "b"),
    SD_BUS_SIGNAL("StatusNotifierHostRegistered", "", 0),
    SD_BUS_SIGNAL("StatusNotifierHostUnregistered", "", 0),
    SD_BUS_VTABLE_END,
};

FakePanel::FakePanel(EventQueue& eventQueue) : queue(eventQueue) {
    require(sd_bus_open_user(OutPtr(bus)));
    require(sd_bus_attach_event(bus.get(), queue.event(), 0));
    require(sd_bus_add_object_vtable(bus.get(), OutPtr(watcherSlot), watcherPath, watcherName, vtable, this));
    const auto watch = [&](BusSlot& slot, const char* interface) {
        require(sd_bus_match_signal(bus.get(), OutPtr(slot), nullptr, nullptr, interface, nullptr,
                                    busCall<&FakePanel::signalled>, this));
    };
    watch(menuSlot, menuInterface);
    watch(itemSlot, itemInterface);
}

void FakePanel::come() {
    require(sd_bus_request_name(bus.get(), watcherName, 0));
}

void FakePanel::leave() {
    require(sd_bus_release_name(bus.get(), watcherName));
}

void FakePanel::setHost(bool isThere) {
    hasHost = isThere;
    const auto* const signal = isThere ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered";
    require(sd_bus_emit_signal(bus.get(), watcherPath, watcherName, signal, nullptr));
}

int FakePanel::isHostRegistered(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "b", hasHost ? 1 : 0);
}

bool FakePanel::sees(const std::string& name) const {
    return sd_bus_get_name_creds(bus.get(), name.c_str(), 0, nullptr) >= 0;
}

int FakePanel::registerItem(sd_bus_message* call) {
    registrations.push_back(readText(call));
    return sd_bus_reply_method_return(call, "");
}

int FakePanel::signalled(sd_bus_message* signal) {
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member != "LayoutUpdated") {
        signals.push_back(std::string(member) + ' ' + readAll(signal));
        return 0;
    }
    std::int32_t parent = -1;
    require(sd_bus_message_read(signal, "ui", &layoutUpdates.emplace_back(), &parent));
    EXPECT_EQ(parent, 0) << "a new menu is new from its root on";
    return 0;
}

int FakePanel::answered(sd_bus_message* message, void* reply, sd_bus_error*) {
    static_cast<BusMessage*>(reply)->reset(sd_bus_message_ref(message));
    return 0;
}

std::string FakePanel::textOf(const BusMessage& reply) {
    const auto* const error = sd_bus_message_get_error(reply.get());
    return error ? error->name : readAll(reply.get());
}

std::string FakePanel::property(const std::string& item, const char* name) {
    return call(item, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get", "ss", itemInterface,
                name);
}

ShownItem FakePanel::menu(const std::string& item) {
    const auto layout = reply(item, "/MenuBar", menuInterface, "GetLayout", "iias", 0, -1, 0);
    require(sd_bus_message_skip(layout.get(), "u"));
    return readItem(layout.get());
}

bool FakePanel::click(const std::string& item, std::int32_t id, const char* event) {
    return call(item, "/MenuBar", menuInterface, "Event", "isvu", id, event, "s", "", 0U).empty();
}

}  // namespace quorvel
