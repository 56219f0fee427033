// Owning pointers to sd-bus's reference-counted objects. The counts are not atomic: references are taken and released
// by the thread that uses the connection.
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

/// Also closes the connection; messages that are still queued for sending are lost.
using BusPointer = std::unique_ptr<sd_bus, SdBusRelease>;
using MessagePointer = std::unique_ptr<sd_bus_message, SdBusRelease>;
/// Also removes what the slot represents: a match, an object or a pending call.
using SlotPointer = std::unique_ptr<sd_bus_slot, SdBusRelease>;

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_SD_BUS_POINTERS_H
