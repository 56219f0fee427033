// Keeps the last value of the topics.
#ifndef ZUV_DESKTOP_BUS_KEEPER_VALUE_KEEPER_H
#define ZUV_DESKTOP_BUS_KEEPER_VALUE_KEEPER_H

#include "bus/sd_bus_pointers.h"

#include <map>
#include <string>
#include <vector>

namespace velmora::desktop {

/// Keeps the last value of each of the platform's topics for readers. It runs in a process of its own, so that a value
/// outlives its publisher and is available to readers that start later. One thread.
///
/// Only the command topic and the event topic are kept, so that publishers of other topics cannot fill its memory.
class ValueKeeper {
public:
    ValueKeeper();

    /// Subscribes, takes the keeper's name, from which on no publication is missed, and works until the bus connection
    /// is lost.
    /// @throws std::system_error when the work cannot begin; EEXIST when another keeper runs.
    void run();

private:
    void begin();
    void keep(sd_bus_message* message);
    int answer(sd_bus_message* request);

    static int onAnyMessage(sd_bus_message* message, void* keeper, sd_bus_error*) noexcept;
    static int onPublished(sd_bus_message* message, void* keeper, sd_bus_error*) noexcept;
    static int onRead(sd_bus_message* request, void* keeper, sd_bus_error*) noexcept;

    BusPointer m_bus;
    std::map<std::string, std::vector<std::string>> m_values;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_KEEPER_VALUE_KEEPER_H
