#include "support/FakePanel.h"

#include <chrono>
#include <cstdarg>
#include <gtest/gtest.h>
#include <systemd/sd-event.h>

#include "platform/linux/bus/BusCallback.h"

namespace quorvel {

namespace {

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* itemInterface = "org.kde.StatusNotifierItem";
constexpr const char* menuInterface = "com.canonical.dbusmenu";

std::string readValue(sd_bus_message* message) {
    const char* type = nullptr;
    require(sd_bus_message_peek_type(message, nullptr, &type));
    require(sd_bus_message_enter_container(message, 'v', type));
    std::string text;
    if (const std::string signature = type; signature == "s") {
        const char* value = nullptr;
        require(sd_bus_message_read(message, "s", &value));
        text = value;
    } else if (signature == "b" || signature == "i") {
        std::int32_t value = 0;
        require(sd_bus_message_read(message, type, &value));
        text = std::to_string(value);
    } else if (signature == "aas") {
        require(sd_bus_message_enter_container(message, 'a', "as"));
        for (const char* end = nullptr; require(sd_bus_message_peek_type(message, nullptr, &end)) > 0;) {
            for (const auto& key : readStrings(message))
                text += '<' + key + '>';
        }
        require(sd_bus_message_exit_container(message));
    } else {
        const void* bytes = nullptr;
        std::size_t size = 0;
        require(sd_bus_message_read_array(message, 'y', &bytes, &size));
        text = std::to_string(size) + " bytes";
    }
    require(sd_bus_message_exit_container(message));
    return text;
}

std::map<std::string, std::string> readProperties(sd_bus_message* message) {
    std::map<std::string, std::string> properties;
    require(sd_bus_message_enter_container(message, 'a', "{sv}"));
    while (require(sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
        const char* name = nullptr;
        require(sd_bus_message_read(message, "s", &name));
        properties[name] = readValue(message);
        require(sd_bus_message_exit_container(message));
    }
    require(sd_bus_message_exit_container(message));
    return properties;
}

ShownItem readItem(sd_bus_message* message) {
    ShownItem item;
    require(sd_bus_message_enter_container(message, 'r', "ia{sv}av"));
    require(sd_bus_message_read(message, "i", &item.id));
    item.properties = readProperties(message);
    require(sd_bus_message_enter_container(message, 'a', "v"));
    while (require(sd_bus_message_enter_container(message, 'v', "(ia{sv}av)")) > 0) {
        item.children.push_back(readItem(message));
        require(sd_bus_message_exit_container(message));
    }
    require(sd_bus_message_exit_container(message));
    require(sd_bus_message_exit_container(message));
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

bool runUntil(EventQueue& queue, const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        constexpr std::uint64_t second = 1'000'000;
        require(sd_event_run(queue.event(), second));
    }
    return true;
}

FakePanel::FakePanel(EventQueue& eventQueue) : queue(eventQueue) {
    sd_bus* opened = nullptr;
    require(sd_bus_open_user(&opened));
    bus.reset(opened);
    require(sd_bus_attach_event(opened, queue.event(), 0));
    sd_bus_slot* slot = nullptr;
    require(sd_bus_add_object_vtable(opened, &slot, "/StatusNotifierWatcher", watcherName, vtable(), this));
    watcherSlot.reset(slot);
    const auto watch = [&](const char* interface) {
        require(sd_bus_match_signal(opened, &slot, nullptr, nullptr, interface, nullptr,
                                    busCall<&FakePanel::signalled>, this));
        return BusSlot(slot);
    };
    menuSlot = watch(menuInterface);
    itemSlot = watch(itemInterface);
}

const sd_bus_vtable* FakePanel::vtable() {
    static const sd_bus_vtable members[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD("RegisterStatusNotifierItem", "s", "", busCall<&FakePanel::registerItem>,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_PROPERTY("IsStatusNotifierHostRegistered", "b", busProperty<&FakePanel::isHostRegistered>, 0,
                        0),
        SD_BUS_SIGNAL("StatusNotifierHostRegistered", "", 0),
        SD_BUS_SIGNAL("StatusNotifierHostUnregistered", "", 0),
        SD_BUS_VTABLE_END,
    };
    return members;
}

void FakePanel::come() {
    require(sd_bus_request_name(bus.get(), watcherName, 0));
}

void FakePanel::leave() {
    require(sd_bus_release_name(bus.get(), watcherName));
}

void FakePanel::setHost(bool isThere) {
    hasHost = isThere;
    require(sd_bus_emit_signal(bus.get(), "/StatusNotifierWatcher", watcherName,
                               isThere ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered",
                               nullptr));
}

int FakePanel::isHostRegistered(sd_bus_message* reply) {
    return sd_bus_message_append(reply, "b", hasHost ? 1 : 0);
}

bool FakePanel::sees(const std::string& name) const {
    return sd_bus_get_name_creds(bus.get(), name.c_str(), 0, nullptr) >= 0;
}

int FakePanel::registerItem(sd_bus_message* call) {
    const char* name = nullptr;
    require(sd_bus_message_read(call, "s", &name));
    registrations.push_back({name, sd_bus_message_get_sender(call)});
    return sd_bus_reply_method_return(call, "");
}

int FakePanel::signalled(sd_bus_message* signal) {
    const std::string member = sd_bus_message_get_member(signal);
    if (member != "LayoutUpdated") {
        ++signals[member];
        if (member == "ItemsPropertiesUpdated") readPropertyUpdates(signal);
        return 0;
    }
    std::uint32_t revision = 0;
    std::int32_t parent = -1;
    require(sd_bus_message_read(signal, "ui", &revision, &parent));
    EXPECT_EQ(parent, 0) << "a new menu is new from its root on";
    layoutUpdates.push_back(revision);
    return 0;
}

void FakePanel::readPropertyUpdates(sd_bus_message* signal) {
    auto& items = propertyUpdates.emplace_back();
    require(sd_bus_message_enter_container(signal, 'a', "(ia{sv})"));
    while (require(sd_bus_message_enter_container(signal, 'r', "ia{sv}")) > 0) {
        std::int32_t id = -1;
        require(sd_bus_message_read(signal, "i", &id));
        items[id] = readProperties(signal);
        require(sd_bus_message_exit_container(signal));
    }
    require(sd_bus_message_exit_container(signal));
    require(sd_bus_message_enter_container(signal, 'a', "(ias)"));
    EXPECT_GT(require(sd_bus_message_at_end(signal, 0)), 0);
}

BusMessage FakePanel::complete(BusMessage call) {
    BusMessage reply;
    const auto answered = [](sd_bus_message* message, void* result, sd_bus_error*) {
        static_cast<BusMessage*>(result)->reset(sd_bus_message_ref(message));
        return 0;
    };
    sd_bus_slot* slot = nullptr;
    require(sd_bus_call_async(bus.get(), &slot, call.get(), answered, &reply, 0));
    const BusSlot pending(slot);
    if (!runUntil(queue, [&] { return reply != nullptr; })) throw std::runtime_error("no reply");
    return reply;
}

BusMessage FakePanel::call(const std::string& item, const char* path, const char* interface,
                           const char* member, const char* types, ...) {
    sd_bus_message* message = nullptr;
    require(sd_bus_message_new_method_call(bus.get(), &message, item.c_str(), path, interface, member));
    BusMessage call(message);
    if (types) {
        va_list arguments;
        va_start(arguments, types);
        const int result = sd_bus_message_appendv(message, types, arguments);
        va_end(arguments);
        require(result);
    }
    return complete(std::move(call));
}

BusMessage FakePanel::property(const std::string& item, const char* interface, const char* name) {
    const bool isMenu = std::string(interface) == menuInterface;
    return call(item, isMenu ? "/MenuBar" : "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get",
                "ss", interface, name);
}

std::string FakePanel::textProperty(const std::string& item, const char* name) {
    const auto reply = property(item, itemInterface, name);
    const char* text = nullptr;
    require(sd_bus_message_read(reply.get(), "v", "s", &text));
    return text;
}

ShownMenu FakePanel::menu(const std::string& item) {
    const auto reply = call(item, "/MenuBar", menuInterface, "GetLayout", "iias", 0, -1, 0);
    ShownMenu shown;
    require(sd_bus_message_read(reply.get(), "u", &shown.revision));
    shown.root = readItem(reply.get());
    return shown;
}

bool FakePanel::click(const std::string& item, std::int32_t id, const char* event) {
    const auto reply =
        call(item, "/MenuBar", menuInterface, "Event", "isvu", id, event, "s", "", std::uint32_t{0});
    return !sd_bus_message_is_method_error(reply.get(), nullptr);
}

}  // namespace quorvel
