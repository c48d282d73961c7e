#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/EventLoop.h"

namespace quorvel {

/// An item of a menu as it came over the bus, its values as text.
struct ShownItem {
    std::int32_t id = -1;
    std::map<std::string, std::string> properties;
    std::vector<ShownItem> children;

    /// The item with that label, here or below; fails the test and answers an item with id -1 if there is
    /// none.
    const ShownItem& named(const std::string& label) const;
    bool has(const std::string& label) const { return find(label) != nullptr; }

private:
    const ShownItem* find(const std::string& label) const;
};

/// What a panel shows of the items below `menu`, one a line, submenus indented: "(on) " before a check mark,
/// "!" before what is disabled, " *" after what has an icon, the second line of a title after " | ", a key
/// after " ^".
std::string outline(const ShownItem& menu, const std::string& indent = "");

/// The watcher and the host of status items on a connection of their own, as a panel has them, in the loop of
/// the program that it watches.
class FakePanel {
public:
    explicit FakePanel(EventQueue& eventQueue);

    /// The watcher comes; it goes with `leave` or with the panel.
    void come();
    void leave();

    /// Whether the watcher knows of a host, as it does from the start.
    void setHost(bool isThere);
    /// From now on it is a watcher that answers nothing.
    void forgetObjects() { watcherSlot.reset(); }

    /// The name that each registration gave, in order.
    std::vector<std::string> registrations;

    /// The revisions of the LayoutUpdated signals, and what each other signal of an item or a menu said.
    std::vector<std::uint32_t> layoutUpdates;
    std::vector<std::string> signals;

    /// Calls a method. The reply's values as text: [an array], (a structure), name=value, <an object's path>,
    /// more than 16 bytes as "N bytes"; or the name of an error.
    template <typename... Values>
    std::string call(const std::string& item, const char* path, const char* interface, const char* member,
                     const char* types, Values... values) {
        return textOf(reply(item, path, interface, member, types, values...));
    }
    /// A property of the status item.
    std::string property(const std::string& item, const char* name);

    /// The whole menu of an item.
    ShownItem menu(const std::string& item);
    /// What a panel sends when the user chooses. False for an error reply.
    bool click(const std::string& item, std::int32_t id, const char* event = "clicked");

    /// Whether anybody has that name on the bus.
    bool sees(const std::string& name) const;

    sd_bus* connection() const { return bus.get(); }

private:
    template <typename... Values>
    BusMessage reply(const std::string& item, const char* path, const char* interface, const char* member,
                     const char* types, Values... values) {
        BusMessage reply;
        BusSlot pending;
        require(sd_bus_call_method_async(bus.get(), OutPtr(pending), item.c_str(), path, interface, member,
                                         answered, &reply, types, values...));
        require(runUntil(queue, [&] { return reply != nullptr; }) ? 0 : -ETIMEDOUT);
        return reply;
    }
    static int answered(sd_bus_message* message, void* reply, sd_bus_error*);
    static std::string textOf(const BusMessage& reply);

    static const sd_bus_vtable vtable[];
    int registerItem(sd_bus_message* call);
    int isHostRegistered(sd_bus_message* reply);
    int signalled(sd_bus_message* signal);

    EventQueue& queue;
    BusConnection bus;
    bool hasHost = true;
    BusSlot watcherSlot, menuSlot, itemSlot;
};

}  // namespace quorvel
