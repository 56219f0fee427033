#ifndef ZUV_TESTS_SYSTEM_BUS_OBSERVER_H
#define ZUV_TESTS_SYSTEM_BUS_OBSERVER_H

#include "bus/sd_bus_pointers.h"

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace velmora::system_test {

/// A connection of its own to the bus of DBUS_SESSION_BUS_ADDRESS that sees every command and every event,
/// and the service come and go. What it has seen grows in await() only. One thread.
class BusObserver {
public:
    BusObserver();

    /// Whether the condition, asked after everything that is seen, holds within kPatience.
    bool await(const std::function<bool()>& condition);

    /// Forgets what it has seen.
    void forget();

    /// The names of the commands.
    const std::vector<std::string>& commands() const { return m_commands; }
    /// Whether there was an event with this text there.
    bool hasEvent(std::size_t position, const std::string& text) const;
    /// Whether there was an answer of that name and result code.
    bool hasAnswer(const std::string& name, const std::string& code) const;
    int arrivals() const { return m_arrivals; }
    int departures() const { return m_departures; }

    /// Of the service; negative when there is none.
    pid_t serviceProcess();

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
