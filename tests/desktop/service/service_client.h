#ifndef ZUV_SERVICE_CLIENT_H
#define ZUV_SERVICE_CLIENT_H

#include "sd_bus_pointers.h"

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// An event as a client gets it over the bus.
struct ReceivedEvent {
    std::vector<std::string> values; ///< 11 empty strings when none came
    std::chrono::steady_clock::time_point when;

    const std::string& name() const { return values.at(0); }
    const std::string& code() const { return values.at(1); }
    const std::string& session() const { return values.at(2); }
    const std::string& object() const { return values.at(3); }
    const std::string& localUrl() const { return values.at(6); }
    const std::string& definitions() const { return values.at(7); }
    const std::string& detail() const { return values.at(8); }
    const std::string& kind() const { return values.at(9); }
};

/// A connection to the bus that sends commands and receives events, as the client library does. One thread.
/// What does not come in time is a failed test.
class ServiceClient {
public:
    /// Connects to the bus of DBUS_SESSION_BUS_ADDRESS.
    ServiceClient();

    /// Has the bus start the service; returns when it has its name.
    void activateService();
    /// Returns when the service has its name, however it was started.
    void awaitService();
    /// Returns when nobody has the service's name.
    void awaitNoService();
    /// Whether the service answers a ping.
    bool ping();

    void send(const std::vector<std::string>& values);

    /// Sends a command with a session identifier of its own.
    /// @return the session identifier.
    std::string send(const std::string& name, const std::string& object, const std::string& kind,
                     const std::string& url = "", const std::string& position = "",
                     const std::string& option = "");

    /// The event that answers the session; events before it are dropped.
    ReceivedEvent answerTo(const std::string& session);
    /// The next event of that name; events before it are dropped.
    ReceivedEvent next(const std::string& name);
    /// Whether an event waits for answerTo() or next().
    bool hasEvent();

    /// send() and answerTo() in one.
    ReceivedEvent request(const std::string& name, const std::string& object, const std::string& kind = "",
                          const std::string& url = "", const std::string& position = "",
                          const std::string& option = "");

    /// @return the identifier of a new object.
    std::string createObject();

private:
    static int onEvent(sd_bus_message* message, void* client, sd_bus_error* error);
    bool hasService();
    bool processUntil(const std::function<bool()>& condition);
    ReceivedEvent take(const std::function<bool(const ReceivedEvent&)>& wanted);

    BusPointer m_bus;
    std::deque<ReceivedEvent> m_events;
    int m_sessions = 0;
};

} // namespace velmora::desktop

#endif // ZUV_SERVICE_CLIENT_H
