#include "platform/linux/bus/SessionBus.h"

#include <cstdlib>
#include <system_error>

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

std::expected<void, std::string> SessionBus::connect() {
    // sd-bus sends itself this signal; no bus needs to answer for it.
    constexpr const char* local = "org.freedesktop.DBus.Local";
    int result = sd_bus_open_user(OutPtr(bus));
    if (result >= 0)
        result =
            sd_bus_match_signal(bus.get(), OutPtr(disconnectedSlot), local, "/org/freedesktop/DBus/Local",
                                local, "Disconnected", busCall<&SessionBus::disconnected>, this);
    if (result >= 0) result = sd_bus_attach_event(bus.get(), mainQueue.event(), SD_EVENT_PRIORITY_NORMAL);
    if (result >= 0) return {};
    disconnectedSlot.reset();
    bus.reset();
    return std::unexpected(sentence(result));
}

int SessionBus::disconnected(sd_bus_message*) {
    isLost = true;
    if (lostTask) mainQueue.post(lostTask);
    return 0;
}

}  // namespace quorvel
