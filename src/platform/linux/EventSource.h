#pragma once

#include <memory>
#include <system_error>
#include <systemd/sd-event.h>

/// How C++ and libsystemd meet.
namespace quorvel {

/// Deletes an object that a C library made.
template <auto release>
struct Release {
    template <typename Object>
    void operator()(Object* object) const {
        release(object);
    }
};

using EventLoop = std::unique_ptr<sd_event, Release<sd_event_unref>>;

/// Something that a loop watches. Destroying it ends the watch; its callback does not run again.
using EventSource = std::unique_ptr<sd_event_source, Release<sd_event_source_disable_unref>>;

/// Where a C function writes the address of what it makes, which `owner` then owns: std::out_ptr, which
/// libstdc++ 12 does not have. Lasts until the end of the call.
template <typename Owner>
class OutPtr {
public:
    explicit OutPtr(Owner& owner) : owner(owner) {}
    ~OutPtr() { owner.reset(made); }
    OutPtr(const OutPtr&) = delete;
    OutPtr& operator=(const OutPtr&) = delete;

    // NOLINTNEXTLINE(google-explicit-constructor): stands for the address itself
    operator typename Owner::pointer *() { return &made; }

private:
    Owner& owner;
    typename Owner::pointer made = nullptr;
};

/// libsystemd answers with an errno below zero, which becomes an exception here.
inline int require(int result, const char* what = "A call of libsystemd failed") {
    if (result < 0) throw std::system_error(-result, std::generic_category(), what);
    return result;
}

}  // namespace quorvel
