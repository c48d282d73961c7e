#pragma once

#include <expected>
#include <functional>
#include <string>
#include <utility>

#include "platform/linux/EventQueue.h"
#include "platform/linux/bus/Bus.h"

namespace quorvel {

/// The program's connection to the user's session bus, served by the main queue's loop. Always usable: what
/// speaks on it does nothing while there is no connection. Owned by an entry; outlives all that use it.
class SessionBus {
public:
    /// Not connected yet.
    explicit SessionBus(EventQueue& mainQueue) : mainQueue(mainQueue) {}
    SessionBus(const SessionBus&) = delete;
    SessionBus& operator=(const SessionBus&) = delete;

    /// At most once. Does not wait for the bus to answer; failure is a sentence for the user.
    std::expected<void, std::string> connect();

    /// `task` runs once on the queue, later, when a connection ends that `connect` had made. It does not come
    /// back: a session that loses its bus is at its end.
    void onLost(std::function<void()> task) { lostTask = std::move(task); }

    /// Null while there is no connection.
    sd_bus* connection() const { return isLost ? nullptr : bus.get(); }

    EventQueue& queue() const { return mainQueue; }

private:
    int disconnected(sd_bus_message* message);

    EventQueue& mainQueue;
    std::function<void()> lostTask;
    BusConnection bus;
    BusSlot disconnectedSlot;
    bool isLost = false;
};

}  // namespace quorvel
