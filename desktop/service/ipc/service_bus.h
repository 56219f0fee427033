#ifndef ZUV_DESKTOP_SERVICE_IPC_SERVICE_BUS_H
#define ZUV_DESKTOP_SERVICE_IPC_SERVICE_BUS_H

#include "base/event_loop.h"
#include "bus/sd_bus_pointers.h"

#include <functional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// The service's connection to the bus named by DBUS_SESSION_BUS_ADDRESS. Pings are answered by the loop. One
/// thread, the loop's.
class ServiceBus {
public:
    struct Handlers {
        std::function<void(const std::vector<std::string>& values, const std::string& client)> onCommand;
        std::function<void(const std::string& client)> onClientLeft;
    };

    /// Connects. The loop ends when the bus goes away.
    /// @param loop outlives this.
    /// @throws std::system_error
    explicit ServiceBus(sd_event* loop);
    ServiceBus(const ServiceBus&) = delete;
    ServiceBus& operator=(const ServiceBus&) = delete;

    /// Has the programs that the bus starts from now on find `value` in their environment.
    /// @throws std::system_error
    void setActivationVariable(const std::string& name, const std::string& value);

    /// Has commands delivered, and then takes the service's name: who waits for the name finds a service that
    /// answers.
    /// @throws std::system_error; std::runtime_error when another service has the name.
    void serve(Handlers handlers);

    /// Puts an event out. A failure is logged: whoever waits for the event times out.
    void sendEvent(const std::vector<std::string>& values);

    /// Waits until what was sent has left.
    void flush();

private:
    static int onAnyMessage(sd_bus_message* message, void* bus, sd_bus_error* error);
    static int onCommand(sd_bus_message* message, void* bus, sd_bus_error* error);
    static int onNameLeft(sd_bus_message* message, void* bus, sd_bus_error* error);
    static int onDisconnected(sd_bus_message* message, void* loop, sd_bus_error* error);

    BusPointer m_bus;
    Handlers m_handlers;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_IPC_SERVICE_BUS_H
