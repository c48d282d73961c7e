#include "platform/linux/bus/SessionBus.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <systemd/sd-bus.h>

#include "platform/linux/bus/BusCallback.h"

namespace quorvel {

namespace {

std::string sentence(int result) {
    const char* const address = getenv("DBUS_SESSION_BUS_ADDRESS");
    if (!address && !getenv("XDG_RUNTIME_DIR"))
        return "There is no session bus: neither DBUS_SESSION_BUS_ADDRESS nor XDG_RUNTIME_DIR is set.";
    const std::string place = address ? address : "the bus of XDG_RUNTIME_DIR";
    return "Could not reach the session bus at " + place + ": " + std::generic_category().message(-result) +
           ".";
}

}  // namespace

void BusSlotRelease::operator()(sd_bus_slot* slot) const {
    sd_bus_slot_unref(slot);
}

/// Without waiting until what was sent has left: a bus that hangs must not keep the program from ending.
void SessionBus::Release::operator()(sd_bus* connection) const {
    sd_bus_close_unref(connection);
}

SessionBus::SessionBus(EventQueue& mainQueue) : mainQueue(mainQueue) {}

SessionBus::~SessionBus() = default;

std::expected<void, std::string> SessionBus::connect() {
    sd_bus* opened = nullptr;
    if (const int result = sd_bus_open_user(&opened); result < 0) return std::unexpected(sentence(result));
    bus.reset(opened);
    return watch();
}

std::expected<void, std::string> SessionBus::watch() {
    // sd-bus sends itself this signal; no bus needs to answer for it.
    constexpr const char* local = "org.freedesktop.DBus.Local";
    sd_bus_slot* slot = nullptr;
    int result = sd_bus_match_signal(bus.get(), &slot, local, "/org/freedesktop/DBus/Local", local,
                                     "Disconnected", busCall<&SessionBus::disconnected>, this);
    disconnectedSlot.reset(slot);
    if (result >= 0) result = sd_bus_attach_event(bus.get(), mainQueue.event(), SD_EVENT_PRIORITY_NORMAL);
    if (result >= 0) return {};
    disconnectedSlot.reset();
    bus.reset();
    return std::unexpected(sentence(result));
}

void SessionBus::onLost(std::function<void()> task) {
    lostTask = std::move(task);
}

sd_bus* SessionBus::connection() const {
    return isLost ? nullptr : bus.get();
}

int SessionBus::disconnected(sd_bus_message*) {
    isLost = true;
    if (lostTask) mainQueue.post(lostTask);
    return 0;
}

}  // namespace quorvel
