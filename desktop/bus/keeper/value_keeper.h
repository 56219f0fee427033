#ifndef ZUV_DESKTOP_BUS_KEEPER_VALUE_KEEPER_H
#define ZUV_DESKTOP_BUS_KEEPER_VALUE_KEEPER_H

#include "bus/sd_bus_pointers.h"

#include <map>
#include <string>
#include <vector>

namespace velmora::desktop {

/// Remembers what the platform's topics last carried and answers who asks. A process of its own, so that a
/// value outlives the service and its publishers, and is there for a reader who comes late. One thread.
///
/// It keeps the command topic and the event topic only, whatever else is published: no sender can fill its
/// memory.
class ValueKeeper {
public:
    ValueKeeper();

    /// Listens, takes the keeper's name - the sign that nothing published from then on is missed - and works
    /// until the bus goes away.
    /// @return 0 when the bus has gone, or a negative errno value when the work could not begin; -EEXIST:
    ///     another keeper is at work.
    int run();

private:
    int begin();
    int listen(const std::string& topic);
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
