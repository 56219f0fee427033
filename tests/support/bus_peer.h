// A participant of the desktop's bus that knows D-Bus and nothing of the platform.
#ifndef ZUV_TESTS_SUPPORT_BUS_PEER_H
#define ZUV_TESTS_SUPPORT_BUS_PEER_H

#include "bus/sd_bus_pointers.h"

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace velmora {

/// Another participant of the bus that DBUS_SESSION_BUS_ADDRESS names. It asks the daemon, and sends messages that the
/// platform never would. One thread.
class BusPeer {
public:
    BusPeer();

    bool isOwned(const std::string& name);

    /// The process that owns `name`, or a negative number.
    pid_t processOf(const std::string& name);

    /// Has the daemon start the program that offers `name`, unless it runs. Returns when it has the name.
    int start(const std::string& name);

    /// Has programs that the daemon starts from now on find `value` in their environment.
    int setActivationVariable(const std::string& name, const std::string& value);

    /// Publishes three messages whose arguments are not a topic and a list of byte strings.
    int publishMalformed(const std::string& topic);

    /// Publishes a list of more strings than the platform takes.
    int publishTooLong(const std::string& topic);

    /// Sends directly to each other connection: the malformed publications of `topic`, one without a topic, one of
    /// another topic, one of another interface, and a call of a method that does not exist.
    int sendForeignToAll(const std::string& topic);

    /// Publishes as the platform does.
    int publish(const std::string& topic, const std::vector<std::string>& values);

private:
    using Signal = std::function<int(sd_bus_message*)>;

    int send(const char* destination, const char* interface, const Signal& append);
    int sendMalformed(const char* destination, const std::string& topic);
    int sendForeign(const char* destination, const std::string& topic);
    std::vector<std::string> otherConnections();
    desktop::MessagePointer askDaemon(const char* method, const std::string& name);

    desktop::BusPointer m_bus;
};

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_BUS_PEER_H
