// Owning pointers to what sd-bus counts references of. The counts are plain numbers: a pointer is copied and
// let go of by the thread that has the connection to itself.
#ifndef ZUV_DESKTOP_BUS_SD_BUS_POINTERS_H
#define ZUV_DESKTOP_BUS_SD_BUS_POINTERS_H

#include <systemd/sd-bus.h>

#include <memory>

namespace velmora::desktop {

struct SdBusRelease {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    void operator()(sd_bus_slot* slot) const { sd_bus_slot_unref(slot); }
};

/// Closes the connection too: what it still has to send is lost.
using BusPointer = std::unique_ptr<sd_bus, SdBusRelease>;
using MessagePointer = std::unique_ptr<sd_bus_message, SdBusRelease>;
/// Withdraws what the slot stands for: a match, an object, an answer that is waited for.
using SlotPointer = std::unique_ptr<sd_bus_slot, SdBusRelease>;

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_SD_BUS_POINTERS_H
