#pragma once

#include <cerrno>
#include <new>
#include <system_error>
#include <systemd/sd-bus.h>

/// How C++ and sd-bus meet. Only for source files that speak D-Bus.
namespace quorvel {

/// sd-bus answers with an errno below zero; between here and `answerOf` it travels as an exception.
inline int require(int result) {
    if (result < 0) throw std::system_error(-result, std::generic_category());
    return result;
}

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

template <typename>
struct BusHandlerTraits;

template <typename ObjectType, typename... Arguments>
struct BusHandlerTraits<int (ObjectType::*)(Arguments...)> {
    using Object = ObjectType;
};

/// The member function `handler`, of `int (sd_bus_message*)`, as sd-bus calls it: for a method, a signal or a
/// reply.
template <auto handler>
int busCall(sd_bus_message* message, void* object, sd_bus_error*) noexcept {
    using Object = typename BusHandlerTraits<decltype(handler)>::Object;
    return answerOf([&] { return (static_cast<Object*>(object)->*handler)(message); });
}

/// The member function `handler`, of `int (sd_bus_message*)`, as sd-bus calls it to append a property's
/// value.
template <auto handler>
int busProperty(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void* object,
                sd_bus_error*) noexcept {
    using Object = typename BusHandlerTraits<decltype(handler)>::Object;
    return answerOf([&] { return (static_cast<Object*>(object)->*handler)(reply); });
}

}  // namespace quorvel
