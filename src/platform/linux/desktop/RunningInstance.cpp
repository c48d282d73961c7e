#include "platform/linux/desktop/RunningInstance.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <utility>

namespace quorvel {

namespace {

constexpr const char* interfaceName = "org.freedesktop.Application";
constexpr std::array<const char*, 2> tokenNames{"activation-token", "desktop-startup-id"};

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
    readArray(message, "{sv}", [&] {
        readContainer(message, 'e', "sv", [&] {
            const auto name = readText(message);
            const char* type = nullptr;
            require(sd_bus_message_peek_type(message, nullptr, &type));
            const bool isToken = std::ranges::find(tokenNames, name) != tokenNames.end();
            if (const char* text = nullptr; isToken && token.empty() && type == std::string_view("s")) {
                require(sd_bus_message_read(message, "v", "s", &text));
                token = text;
            } else {
                require(sd_bus_message_skip(message, "v"));
            }
        });
    });
    return token;
}

}  // namespace

const sd_bus_vtable RunningInstance::vtable[] = {
    SD_BUS_VTABLE_START(0),
    busMethod<&RunningInstance::activate>("Activate", "a{sv}", ""),
    busMethod<&RunningInstance::activateAction>("ActivateAction", "sava{sv}", ""),
    SD_BUS_VTABLE_END,
};

RunningInstance::RunningInstance(SessionBus& bus, std::string name)
    : bus(bus), busName(std::move(name)), objectPath(objectPathFor(busName)) {}

RunningInstance::Claim RunningInstance::claim() {
    const int result = sd_bus_request_name(bus.connection(), busName.c_str(), 0);
    if (result == -EEXIST) return Claim::another;
    return result < 0 ? Claim::unknown : Claim::first;
}

bool RunningInstance::ask(const Request& request) {
    const bool shows = request.action.empty();
    const auto send = [&] {
        BusMessage call;
        require(sd_bus_message_new_method_call(bus.connection(), OutPtr(call), busName.c_str(),
                                               objectPath.c_str(), interfaceName,
                                               shows ? "Activate" : "ActivateAction"));
        if (!shows) require(sd_bus_message_append(call.get(), "sav", request.action.c_str(), 0));
        appendPlatformData(call.get(), request.activationToken);
        return require(sd_bus_call(bus.connection(), call.get(), 0, nullptr, nullptr));
    };
    return answerOf(send) >= 0;
}

void RunningInstance::onRequest(std::function<void(const Request&)> newHandler) {
    handler = std::move(newHandler);
    // Without a connection nobody can ask.
    sd_bus_add_object_vtable(bus.connection(), OutPtr(object), objectPath.c_str(), interfaceName, vtable,
                             this);
}

void RunningInstance::post(Request request) {
    bus.queue().post([handle = handler, request = std::move(request)] { handle(request); });
}

int RunningInstance::activate(sd_bus_message* message) {
    post({"", tokenFrom(message)});
    return sd_bus_reply_method_return(message, "");
}

int RunningInstance::activateAction(sd_bus_message* message) {
    auto action = readText(message);
    require(sd_bus_message_skip(message, "av"));
    post({std::move(action), tokenFrom(message)});
    return sd_bus_reply_method_return(message, "");
}

}  // namespace quorvel
