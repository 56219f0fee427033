// Records what goes over the bus of a run, all senders included.
#ifndef ZUV_DESKTOP_LAUNCHER_BUS_MONITOR_H
#define ZUV_DESKTOP_LAUNCHER_BUS_MONITOR_H

#include "bus/sd_bus_pointers.h"

#include <string>
#include <thread>

namespace velmora::desktop {

/// Watches the bus from a thread of its own, until the bus ends. The bus is ended before this is destroyed.
class BusMonitor {
public:
    /// Returns when nothing escapes it any more.
    /// @throws std::system_error, std::runtime_error when the bus does not let it watch.
    explicit BusMonitor(const std::string& address);

private:
    BusPointer m_bus;
    std::jthread m_thread; ///< last, so that it ends before the connection that it uses
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_BUS_MONITOR_H
