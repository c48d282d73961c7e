#pragma once

#include <memory>

struct sd_bus_slot;

namespace quorvel {

struct BusSlotRelease {
    void operator()(sd_bus_slot* slot) const;
};

/// Something asked of a bus: an object that answers there, a signal watched, a reply awaited. Destroying it
/// takes the request back; its callback does not run again.
using BusSlot = std::unique_ptr<sd_bus_slot, BusSlotRelease>;

}  // namespace quorvel
