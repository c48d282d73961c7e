#include "platform/linux/desktop/RunningInstance.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <systemd/sd-bus.h>
#include <utility>

#include "platform/linux/bus/BusCallback.h"
#include "platform/linux/bus/BusMessage.h"

namespace quorvel {

namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr std::array<const char*, 2> tokenNames{"activation-token", "desktop-startup-id"};

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

/// Under both names by which desktops give it.
void appendPlatformData(sd_bus_message* message, const std::string& token) {
    appendContainer(message, 'a', "{sv}", [&] {
        if (token.empty()) return;
        for (const char* const name : tokenNames)
            require(sd_bus_message_append(message, "{sv}", name, "s", token.c_str()));
    });
}

/// Reads the platform data, which other programs fill as they like.
std::string tokenFrom(sd_bus_message* message) {
    std::string token;
    require(sd_bus_message_enter_container(message, 'a', "{sv}"));
    while (require(sd_bus_message_enter_container(message, 'e', "sv")) > 0) {
        const char* name = nullptr;
        const char* type = nullptr;
        require(sd_bus_message_read(message, "s", &name));
        require(sd_bus_message_peek_type(message, nullptr, &type));
        const bool isToken = std::ranges::find(tokenNames, std::string_view(name)) != tokenNames.end();
        if (const char* text = nullptr; isToken && token.empty() && std::string_view(type) == "s") {
            require(sd_bus_message_read(message, "v", "s", &text));
            token = text;
        } else {
            require(sd_bus_message_skip(message, "v"));
        }
        require(sd_bus_message_exit_container(message));
    }
    require(sd_bus_message_exit_container(message));
    return token;
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

bool RunningInstance::ask(const Request& request) {
    const bool shows = request.action.empty();
    sd_bus_message* message = nullptr;
    if (sd_bus_message_new_method_call(bus.connection(), &message, busName.c_str(), objectPath.c_str(),
                                       interfaceName, shows ? "Activate" : "ActivateAction") < 0)
        return false;
    const BusMessage call(message);
    const auto send = [&] {
        if (!shows) require(sd_bus_message_append(message, "sav", request.action.c_str(), 0));
        appendPlatformData(message, request.activationToken);
        return require(sd_bus_call(bus.connection(), message, 0, nullptr, nullptr));
    };
    return answerOf(send) >= 0;
}

void RunningInstance::onRequest(std::function<void(const Request&)> newHandler) {
    handler = std::move(newHandler);
    if (bus.connection() == nullptr) return;
    sd_bus_slot* slot = nullptr;
    if (sd_bus_add_object_vtable(bus.connection(), &slot, objectPath.c_str(), interfaceName, applicationTable,
                                 this) >= 0) {
        object.reset(slot);
    }
}

void RunningInstance::take(Request request) {
    bus.queue().post([task = handler, request = std::move(request)] { task(request); });
}

int RunningInstance::activate(sd_bus_message* message) {
    take({"", tokenFrom(message)});
    return sd_bus_reply_method_return(message, "");
}

int RunningInstance::activateAction(sd_bus_message* message) {
    const char* name = nullptr;
    require(sd_bus_message_read(message, "s", &name));
    require(sd_bus_message_skip(message, "av"));
    take({name, tokenFrom(message)});
    return sd_bus_reply_method_return(message, "");
}

}  // namespace quorvel
