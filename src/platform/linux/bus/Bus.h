#pragma once

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <system_error>
#include <systemd/sd-bus.h>
#include <vector>

#include "platform/linux/EventSource.h"

/// How C++ and sd-bus meet. What fails throws; between C and C++ an error is an errno below zero.
namespace quorvel {

/// Closed without waiting until what was sent has left: a bus that hangs must not keep the program from
/// ending.
using BusConnection = std::unique_ptr<sd_bus, Release<sd_bus_close_unref>>;

/// Something asked of a bus: an object that answers there, a signal watched, a reply awaited. Destroying it
/// takes the request back; its callback does not run again.
using BusSlot = std::unique_ptr<sd_bus_slot, Release<sd_bus_slot_unref>>;

using BusMessage = std::unique_ptr<sd_bus_message, Release<sd_bus_message_unref>>;

/// The answer of a callback whose body is `work`. C code lies around a callback, and an exception cannot
/// cross it; sd-bus makes an error reply of an errno below zero.
template <typename Work>
int answerOf(Work work) noexcept {
    try {
        return work();
    } catch (const std::system_error& error) {
        return -error.code().value();
    } catch (const std::bad_alloc&) {
        return -ENOMEM;
    } catch (...) {
        return -EIO;
    }
}

template <typename Object>
int answerOf(int (Object::*handler)(sd_bus_message*), void* object, sd_bus_message* message) noexcept {
    return answerOf([&] { return (static_cast<Object*>(object)->*handler)(message); });
}

template <typename Object>
int answerOf(std::string Object::* text, void* object, sd_bus_message* message) noexcept {
    return sd_bus_message_append(message, "s", (static_cast<Object*>(object)->*text).c_str());
}

/// The member function `handler`, of `int (sd_bus_message*)`, as sd-bus calls it: for a method, a signal or a
/// reply.
template <auto handler>
int busCall(sd_bus_message* message, void* object, sd_bus_error*) noexcept {
    return answerOf(handler, object, message);
}

/// The rows of an interface's table. A method calls a member function, which answers; a property that changes
/// is a text among the members, or a member function that appends the value to the reply.
template <auto handler>
constexpr sd_bus_vtable busMethod(const char* name, const char* arguments, const char* results) {
    return SD_BUS_METHOD(name, arguments, results, busCall<handler>, SD_BUS_VTABLE_UNPRIVILEGED);
}

template <auto member>
constexpr sd_bus_vtable busProperty(const char* name, const char* type) {
    constexpr auto get = [](sd_bus*, const char*, const char*, const char*, sd_bus_message* reply,
                            void* object, sd_bus_error*) { return answerOf(member, object, reply); };
    return SD_BUS_PROPERTY(name, type, get, 0, 0);
}

/// A text that can be a template's argument.
template <std::size_t size>
struct Literal {
    // NOLINTNEXTLINE(google-explicit-constructor): stands for the literal itself
    consteval Literal(const char (&literal)[size]) { std::ranges::copy(literal, text); }
    char text[size];
};

/// A property that never changes: of `type`, appended as `values`.
template <Literal type, auto... values>
constexpr sd_bus_vtable busConstant(const char* name) {
    constexpr auto get = [](sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                            sd_bus_error*) { return sd_bus_message_append(reply, type.text, values...); };
    return SD_BUS_PROPERTY(name, type.text, get, 0, SD_BUS_VTABLE_PROPERTY_CONST);
}

template <Literal value>
constexpr sd_bus_vtable busText(const char* name) {
    constexpr auto get = [](sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                            sd_bus_error*) { return sd_bus_message_append(reply, "s", value.text); };
    return SD_BUS_PROPERTY(name, "s", get, 0, SD_BUS_VTABLE_PROPERTY_CONST);
}

/// Makes a reply, has it filled, and sends it: the answer of a callback.
template <typename Fill>
int reply(sd_bus_message* call, Fill fill) {
    BusMessage message;
    require(sd_bus_message_new_method_return(call, OutPtr(message)));
    fill(message.get());
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

template <typename Content>
void readContainer(sd_bus_message* message, char type, const char* contents, Content readContent) {
    require(sd_bus_message_enter_container(message, type, contents));
    readContent();
    require(sd_bus_message_exit_container(message));
}

/// Calls `readElement` at each element of an array of `type`.
template <typename Element>
void readArray(sd_bus_message* message, const char* type, Element readElement) {
    readContainer(message, 'a', type, [&] {
        while (require(sd_bus_message_at_end(message, 0)) == 0)
            readElement();
    });
}

inline std::vector<std::int32_t> readNumbers(sd_bus_message* message) {
    const void* data = nullptr;
    std::size_t size = 0;
    require(sd_bus_message_read_array(message, 'i', &data, &size));
    const auto* const numbers = static_cast<const std::int32_t*>(data);
    return {numbers, numbers + size / sizeof(std::int32_t)};
}

inline std::string readText(sd_bus_message* message) {
    const char* text = nullptr;
    require(sd_bus_message_read(message, "s", &text));
    return text;
}

inline std::vector<std::string> readTexts(sd_bus_message* message) {
    std::vector<std::string> texts;
    readArray(message, "s", [&] { texts.push_back(readText(message)); });
    return texts;
}

}  // namespace quorvel
