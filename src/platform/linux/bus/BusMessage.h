#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <systemd/sd-bus.h>
#include <vector>

#include "platform/linux/bus/BusCallback.h"

/// Reading and writing messages; what fails throws, for `answerOf` to catch.
namespace quorvel {

struct BusMessageRelease {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};

using BusMessage = std::unique_ptr<sd_bus_message, BusMessageRelease>;

inline BusMessage makeReply(sd_bus_message* call) {
    sd_bus_message* reply = nullptr;
    require(sd_bus_message_new_method_return(call, &reply));
    return BusMessage(reply);
}

/// The answer of the callback that `message` replies to.
inline int send(const BusMessage& message) {
    return sd_bus_send(nullptr, message.get(), nullptr);
}

template <typename Content>
void appendContainer(sd_bus_message* message, char type, const char* contents, Content appendContent) {
    require(sd_bus_message_open_container(message, type, contents));
    appendContent();
    require(sd_bus_message_close_container(message));
}

inline void appendNumbers(sd_bus_message* message, const std::vector<std::int32_t>& numbers) {
    require(sd_bus_message_append_array(message, 'i', numbers.data(), numbers.size() * sizeof(std::int32_t)));
}

inline void appendStrings(sd_bus_message* message, const std::vector<std::string>& texts) {
    appendContainer(message, 'a', "s", [&] {
        for (const auto& text : texts)
            require(sd_bus_message_append(message, "s", text.c_str()));
    });
}

inline std::vector<std::int32_t> readNumbers(sd_bus_message* message) {
    const void* data = nullptr;
    std::size_t size = 0;
    require(sd_bus_message_read_array(message, 'i', &data, &size));
    const auto* const numbers = static_cast<const std::int32_t*>(data);
    return {numbers, numbers + size / sizeof(std::int32_t)};
}

inline std::vector<std::string> readStrings(sd_bus_message* message) {
    std::vector<std::string> texts;
    require(sd_bus_message_enter_container(message, 'a', "s"));
    for (const char* text = nullptr; require(sd_bus_message_read(message, "s", &text)) > 0;)
        texts.emplace_back(text);
    require(sd_bus_message_exit_container(message));
    return texts;
}

}  // namespace quorvel
