#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

#include "platform/linux/EventQueue.h"
#include "platform/linux/bus/BusMessage.h"
#include "platform/linux/bus/BusSlot.h"

namespace quorvel {

/// An item of a menu as it came over the bus; values as text, icon data as "N bytes".
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

struct ShownMenu {
    std::uint32_t revision = 0;
    ShownItem root;
};

/// Runs the loop until `condition` holds. False when it does not within a time that is far beyond any need.
bool runUntil(EventQueue& queue, const std::function<bool()>& condition);

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

    /// Every registration, in order: the name given and the connection it came from.
    struct Registration {
        std::string name, sender;
    };
    std::vector<Registration> registrations;

    /// The revisions of the LayoutUpdated signals, and how often each other signal of an item came.
    std::vector<std::uint32_t> layoutUpdates;
    std::map<std::string, int> signals;

    /// What each ItemsPropertiesUpdated signal said of which item. It must take away nothing: hosts differ in
    /// which half of the signal they read first.
    std::vector<std::map<std::int32_t, std::map<std::string, std::string>>> propertyUpdates;

    /// A method call on an item; the reply, or an error reply.
    BusMessage call(const std::string& item, const char* path, const char* interface, const char* member,
                    const char* types = nullptr, ...);
    /// A property of the status item. The message stands at the variant.
    BusMessage property(const std::string& item, const char* interface, const char* name);
    std::string textProperty(const std::string& item, const char* name);

    ShownMenu menu(const std::string& item);
    /// What a panel sends when the user chooses. False for an error reply.
    bool click(const std::string& item, std::int32_t id, const char* event = "clicked");

    /// Whether anybody has that name on the bus.
    bool sees(const std::string& name) const;

    sd_bus* connection() const { return bus.get(); }

private:
    struct Release {
        void operator()(sd_bus* connection) const { sd_bus_close_unref(connection); }
    };

    static const sd_bus_vtable* vtable();
    int registerItem(sd_bus_message* call);
    int isHostRegistered(sd_bus_message* reply);
    int signalled(sd_bus_message* signal);
    void readPropertyUpdates(sd_bus_message* signal);
    BusMessage complete(BusMessage call);

    EventQueue& queue;
    std::unique_ptr<sd_bus, Release> bus;
    bool hasHost = true;
    BusSlot watcherSlot, menuSlot, itemSlot;
};

}  // namespace quorvel
