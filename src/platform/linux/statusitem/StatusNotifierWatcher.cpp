#include "platform/linux/statusitem/StatusNotifierWatcher.h"

#include <string>
#include <string_view>
#include <utility>

#include "platform/Weakly.h"

namespace quorvel {

namespace {

constexpr const char* name = "org.kde.StatusNotifierWatcher";
constexpr const char* path = "/StatusNotifierWatcher";

}  // namespace

/// The watcher is followed before it is called, so that none can come, and nothing change, in between unseen.
StatusNotifierWatcher::StatusNotifierWatcher(SessionBus& sessionBus, HostsChanged changed)
    : bus(sessionBus), hostsChanged(std::move(changed)) {
    if (!bus.connection()) {
        report(false);
        return;
    }
    using Self = StatusNotifierWatcher;
    const auto ownerMatch = std::string(
                                "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
                                "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='") +
                            name + '\'';
    require(sd_bus_match_signal_async(bus.connection(), OutPtr(signalSlot), name, path, name, nullptr,
                                      busCall<&Self::signalled>, nullptr, this));
    require(sd_bus_add_match_async(bus.connection(), OutPtr(ownerSlot), ownerMatch.c_str(),
                                   busCall<&Self::ownerChanged>, busCall<&Self::watching>, this));
}

int StatusNotifierWatcher::watching(sd_bus_message* /*reply*/) {
    // By the connection's own name: GNOME's host follows the owner of any other, and loses the item when it
    // learns of the owner late.
    const char* ownName = nullptr;
    require(sd_bus_get_unique_name(bus.connection(), &ownName));
    // Asks for no answer: with no watcher there, its coming is what counts.
    sd_bus_call_method_async(bus.connection(), nullptr, name, path, name, "RegisterStatusNotifierItem",
                             nullptr, nullptr, "s", ownName);
    askForHosts();
    return 0;
}

int StatusNotifierWatcher::ownerChanged(sd_bus_message* signal) {
    const char* newOwner = nullptr;
    require(sd_bus_message_read(signal, "sss", nullptr, nullptr, &newOwner));
    if (*newOwner != '\0') return watching(signal);
    answerSlot.reset();
    report(false);
    return 0;
}

void StatusNotifierWatcher::askForHosts() {
    if (!hostsChanged) return;
    require(sd_bus_call_method_async(
        bus.connection(), OutPtr(answerSlot), name, path, "org.freedesktop.DBus.Properties", "Get",
        busCall<&StatusNotifierWatcher::answered>, this, "ss", name, "IsStatusNotifierHostRegistered"));
}

/// A watcher that does not know the question hosts its items itself.
int StatusNotifierWatcher::answered(sd_bus_message* reply) {
    const auto* const error = sd_bus_message_get_error(reply);
    int areThere = sd_bus_error_has_names(error, SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER,
                                          SD_BUS_ERROR_NO_REPLY) == 0;
    if (!error) require(sd_bus_message_read(reply, "v", "b", &areThere));
    report(areThere != 0);
    return 0;
}

int StatusNotifierWatcher::signalled(sd_bus_message* signal) {
    const std::string_view member = sd_bus_message_get_member(signal);
    if (member == "StatusNotifierHostRegistered" || member == "StatusNotifierHostUnregistered") askForHosts();
    return 0;
}

void StatusNotifierWatcher::report(bool areThere) {
    if (!hostsChanged || std::exchange(reported, areThere) == areThere) return;
    bus.queue().post(weakly(alive, [this, areThere] { hostsChanged(areThere); }));
}

}  // namespace quorvel
