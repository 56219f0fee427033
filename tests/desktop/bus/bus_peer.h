#ifndef TESTS_DESKTOP_BUS_PEER_H
#define TESTS_DESKTOP_BUS_PEER_H

#include "sd_bus_pointers.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::bus_test {

/// Another participant of the bus that DBUS_SESSION_BUS_ADDRESS names, with D-Bus at its bare hands: asks the
/// daemon, and sends what the platform never would. One thread.
class BusPeer {
public:
    BusPeer();

    bool isOwned(const std::string& name);

    /// The process that owns `name`, or a negative number.
    pid_t processOf(const std::string& name);

    /// Publishes what is not a topic and a list of byte strings, in three ways.
    int publishMalformed(const std::string& topic);

    /// Publishes properly.
    int publish(const std::string& topic, const std::vector<std::string>& values);

private:
    desktop::MessagePointer askDaemon(const char* method, const std::string& name);

    desktop::BusPointer m_bus;
};

} // namespace velmora::bus_test

#endif // TESTS_DESKTOP_BUS_PEER_H
