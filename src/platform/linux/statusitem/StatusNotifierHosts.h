#pragma once

#include <functional>
#include <optional>

#include "platform/linux/bus/BusSlot.h"
#include "platform/linux/bus/SessionBus.h"

struct sd_bus_message;

namespace quorvel {

/// Tells whether a panel on the session bus hosts status items: a watcher has to be there which knows of a
/// host. Owned by the status item. Main thread.
class StatusNotifierHosts {
public:
    /// `changed` runs later, once it is known whether there is a host and then with each change. Without a
    /// bus there is none.
    StatusNotifierHosts(SessionBus& sessionBus, std::function<void(bool areThere)> changed);
    StatusNotifierHosts(const StatusNotifierHosts&) = delete;
    StatusNotifierHosts& operator=(const StatusNotifierHosts&) = delete;

private:
    void watch();
    void ask();
    void tell(bool areThere);
    int ownerChanged(sd_bus_message* signal);
    int hostsChanged(sd_bus_message* signal);
    int answered(sd_bus_message* reply);

    SessionBus& bus;
    std::function<void(bool)> changed;
    std::optional<bool> told;
    BusSlot ownerSlot, hostsSlot, answerSlot;
    /// What is posted holds it weakly.
    std::shared_ptr<int> alive = std::make_shared<int>();
};

}  // namespace quorvel
