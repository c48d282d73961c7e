#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "platform/linux/bus/SessionBus.h"

namespace quorvel {

/// The panel's watcher of status items (`org.kde.StatusNotifierWatcher`), whichever is on the session bus.
/// Registers the program's item with each that comes: at the start, late at login, after a panel's restart.
/// Owned by the status item. Main thread.
class StatusNotifierWatcher {
public:
    /// Whether a panel hosts status items: there has to be a watcher that knows of a host.
    using HostsChanged = std::function<void(bool areThere)>;

    /// `hostsChanged` runs later, once it is known whether there is a host and then with each change. Without
    /// a bus there is none. May be null.
    StatusNotifierWatcher(SessionBus& sessionBus, HostsChanged hostsChanged);
    StatusNotifierWatcher(const StatusNotifierWatcher&) = delete;
    StatusNotifierWatcher& operator=(const StatusNotifierWatcher&) = delete;

private:
    int watching(sd_bus_message* reply);
    int ownerChanged(sd_bus_message* signal);
    int signalled(sd_bus_message* signal);
    int answered(sd_bus_message* reply);
    void askForHosts();
    void report(bool areThere);

    SessionBus& bus;
    HostsChanged hostsChanged;
    std::optional<bool> reported;
    BusSlot ownerSlot, signalSlot, answerSlot;
    /// What is posted holds it weakly.
    std::shared_ptr<int> alive = std::make_shared<int>();
};

}  // namespace quorvel
