// An observer of the bus: commands, events, and the service's arrivals and departures.
#ifndef ZUV_TESTS_SYSTEM_BUS_OBSERVER_H
#define ZUV_TESTS_SYSTEM_BUS_OBSERVER_H

#include "bus/sd_bus_pointers.h"

#include <functional>
#include <string>
#include <vector>

namespace velmora::system_test {

/// A connection to the bus of DBUS_SESSION_BUS_ADDRESS that records every command, every event, and when the service
/// takes and loses its name. It receives in await() only. One thread.
class BusObserver {
public:
    BusObserver();

    /// Receives until the condition holds, for at most kPatience. @return whether it holds.
    bool await(const std::function<bool()>& condition);

    /// Clears the record.
    void forget();

    /// The names of the commands.
    const std::vector<std::string>& commands() const { return m_commands; }
    /// Whether there was an event with this entry.
    bool hasEvent(std::size_t position, const std::string& text) const;
    /// Whether there was an answer of that name and result code.
    bool hasAnswer(const std::string& name, const std::string& code) const;
    int arrivals() const { return m_arrivals; }
    int departures() const { return m_departures; }

private:
    static int onCommand(sd_bus_message* message, void* observer, sd_bus_error*);
    static int onEvent(sd_bus_message* message, void* observer, sd_bus_error*);
    static int onOwnerChanged(sd_bus_message* message, void* observer, sd_bus_error*);
    void listen(const std::string& rule, sd_bus_message_handler_t handler);

    desktop::BusPointer m_bus;
    std::vector<std::string> m_commands;
    std::vector<std::vector<std::string>> m_events;
    int m_arrivals = 0;
    int m_departures = 0;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_BUS_OBSERVER_H
