// The service's connection to the bus.
#ifndef ZUV_DESKTOP_SERVICE_IPC_SERVICE_BUS_H
#define ZUV_DESKTOP_SERVICE_IPC_SERVICE_BUS_H

#include "base/event_loop.h"
#include "bus/sd_bus_pointers.h"

#include <functional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// The service's connection to the bus named by DBUS_SESSION_BUS_ADDRESS. The loop also answers pings. One thread, the
/// loop's.
class ServiceBus {
public:
    struct Handlers {
        std::function<void(const std::vector<std::string>& values, const std::string& client)> onCommand;
        std::function<void(const std::string& client)> onClientLeft;
    };

    /// Connects. When the connection is lost, the loop ends.
    /// @param loop outlives this.
    /// @throws std::system_error
    explicit ServiceBus(sd_event* loop);
    ServiceBus(const ServiceBus&) = delete;
    ServiceBus& operator=(const ServiceBus&) = delete;

    /// Sets a variable in the environment of the programs that the bus starts from now on.
    /// @throws std::system_error
    void setActivationVariable(const std::string& name, const std::string& value);

    /// Subscribes to commands, and then takes the service's name, so that a client which waits for the name finds a
    /// service that answers.
    /// @throws std::system_error; std::runtime_error when another service has the name.
    void serve(Handlers handlers);

    /// Sends an event. A failure is logged; clients that wait for the event time out.
    /// @return whether it was sent.
    bool sendEvent(const std::vector<std::string>& values);

    /// Waits until everything that was sent has been written to the socket.
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
