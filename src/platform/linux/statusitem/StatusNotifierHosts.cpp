#include "platform/linux/statusitem/StatusNotifierHosts.h"

#include <systemd/sd-bus.h>
#include <utility>

#include "platform/Weakly.h"
#include "platform/linux/bus/BusMessage.h"

namespace quorvel {

namespace {

constexpr const char* watcherName = "org.kde.StatusNotifierWatcher";
constexpr const char* watcherPath = "/StatusNotifierWatcher";
constexpr const char* ownerMatch =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.kde.StatusNotifierWatcher'";
constexpr const char* hostsMatch =
    "type='signal',sender='org.kde.StatusNotifierWatcher',path='/StatusNotifierWatcher',"
    "interface='org.kde.StatusNotifierWatcher'";

bool nobodyAnswered(const sd_bus_error& error) {
    return sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0 ||
           sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0 ||
           sd_bus_error_has_name(&error, SD_BUS_ERROR_NO_REPLY) != 0;
}

}  // namespace

StatusNotifierHosts::StatusNotifierHosts(SessionBus& sessionBus, std::function<void(bool)> onChange)
    : bus(sessionBus), changed(std::move(onChange)) {
    if (bus.connection()) {
        watch();
        ask();
    } else {
        tell(false);
    }
}

/// The watcher is watched before it is asked, so that nothing can change in between unseen.
void StatusNotifierHosts::watch() {
    sd_bus_slot* slot = nullptr;
    require(sd_bus_add_match_async(bus.connection(), &slot, ownerMatch,
                                   busCall<&StatusNotifierHosts::ownerChanged>, nullptr, this));
    ownerSlot.reset(slot);
    require(sd_bus_add_match_async(bus.connection(), &slot, hostsMatch,
                                   busCall<&StatusNotifierHosts::hostsChanged>, nullptr, this));
    hostsSlot.reset(slot);
}

void StatusNotifierHosts::ask() {
    sd_bus_message* message = nullptr;
    require(sd_bus_message_new_method_call(bus.connection(), &message, watcherName, watcherPath,
                                           "org.freedesktop.DBus.Properties", "Get"));
    const BusMessage call(message);
    require(sd_bus_message_append(message, "ss", watcherName, "IsStatusNotifierHostRegistered"));
    require(sd_bus_message_set_auto_start(message, 0));
    sd_bus_slot* slot = nullptr;
    require(sd_bus_call_async(bus.connection(), &slot, message, busCall<&StatusNotifierHosts::answered>, this,
                              0));
    answerSlot.reset(slot);
}

/// A watcher that does not know the question hosts its items itself.
int StatusNotifierHosts::answered(sd_bus_message* reply) {
    int isRegistered = 1;
    if (const auto* const error = sd_bus_message_get_error(reply)) {
        tell(!nobodyAnswered(*error));
    } else {
        require(sd_bus_message_read(reply, "v", "b", &isRegistered));
        tell(isRegistered != 0);
    }
    return 0;
}

int StatusNotifierHosts::ownerChanged(sd_bus_message* signal) {
    const char* newOwner = nullptr;
    require(sd_bus_message_read(signal, "sss", nullptr, nullptr, &newOwner));
    if (*newOwner != '\0') {
        ask();
    } else {
        answerSlot.reset();
        tell(false);
    }
    return 0;
}

int StatusNotifierHosts::hostsChanged(sd_bus_message* signal) {
    const bool isOfHosts = sd_bus_message_is_signal(signal, nullptr, "StatusNotifierHostRegistered") > 0 ||
                           sd_bus_message_is_signal(signal, nullptr, "StatusNotifierHostUnregistered") > 0;
    if (isOfHosts) ask();
    return 0;
}

void StatusNotifierHosts::tell(bool areThere) {
    if (std::exchange(told, areThere) == areThere) return;
    bus.queue().post(weakly(alive, [this, areThere] { changed(areThere); }));
}

}  // namespace quorvel
