#include "platform/linux/RunningInstance.h"

#include <algorithm>
#include <cerrno>
#include <systemd/sd-bus.h>
#include <utility>

#include "platform/linux/BusCallback.h"

namespace quorvel {

namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";

const sd_bus_vtable applicationTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Activate", "a{sv}", "", &busCall<&RunningInstance::activate>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("ActivateAction", "sava{sv}", "", &busCall<&RunningInstance::activateAction>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};

/// Where a program that desktops can ask has its object, by the rules of desktop entries.
std::string objectPathFor(std::string name) {
    std::ranges::replace(name, '.', '/');
    return '/' + name;
}

}  // namespace

RunningInstance::RunningInstance(SessionBus& bus, std::string name)
    : bus(bus), busName(std::move(name)), objectPath(objectPathFor(busName)) {}

RunningInstance::Claim RunningInstance::claim() {
    if (bus.connection() == nullptr) return Claim::unknown;
    const int result = sd_bus_request_name(bus.connection(), busName.c_str(), 0);
    if (result == -EEXIST) return Claim::another;
    return result < 0 ? Claim::unknown : Claim::first;
}

bool RunningInstance::ask(const std::string& action) {
    if (action.empty()) {
        return sd_bus_call_method(bus.connection(), busName.c_str(), objectPath.c_str(), interfaceName,
                                  "Activate", nullptr, nullptr, "a{sv}", 0) >= 0;
    }
    return sd_bus_call_method(bus.connection(), busName.c_str(), objectPath.c_str(), interfaceName,
                              "ActivateAction", nullptr, nullptr, "sava{sv}", action.c_str(), 0, 0) >= 0;
}

void RunningInstance::onAction(std::function<void(const std::string&)> handler) {
    actionHandler = std::move(handler);
    if (bus.connection() == nullptr) return;
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_object_vtable(bus.connection(), &slot, objectPath.c_str(), interfaceName, applicationTable,
                                 this) >= 0) {
        object.reset(slot);
    }
}

int RunningInstance::activate(sd_bus_message* message) {
    bus.queue().post([handler = actionHandler] { handler(""); });
    return sd_bus_reply_method_return(message, "");
}

int RunningInstance::activateAction(sd_bus_message* message) {
    const char* name = nullptr;
    require(sd_bus_message_read(message, "s", &name));
    bus.queue().post([handler = actionHandler, action = std::string(name)] { handler(action); });
    return sd_bus_reply_method_return(message, "");
}

}  // namespace quorvel
