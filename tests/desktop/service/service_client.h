#ifndef ZUV_TESTS_DESKTOP_SERVICE_SERVICE_CLIENT_H
#define ZUV_TESTS_DESKTOP_SERVICE_SERVICE_CLIENT_H

#include "bus/sd_bus_pointers.h"

#include <chrono>
#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace velmora::desktop {

/// An event as a client gets it over the bus. Entries that it does not have are empty.
struct ReceivedEvent {
    std::vector<std::string> values;
    std::chrono::steady_clock::time_point when;

    std::string entry(std::size_t position) const { return position < values.size() ? values[position] : ""; }
    std::string name() const { return entry(0); }
    std::string code() const { return entry(1); }
    std::string session() const { return entry(2); }
    std::string object() const { return entry(3); }
    std::string localUrl() const { return entry(6); }
    std::string definitions() const { return entry(7); }
    std::string detail() const { return entry(8); }
    std::string kind() const { return entry(9); }
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
                     const std::string& url = "", const std::string& position = "", const std::string& option = "");

    /// The event that answers the session; events before it are dropped.
    ReceivedEvent answerTo(const std::string& session);
    /// The next event of that name; events before it are dropped.
    ReceivedEvent next(const std::string& name);
    /// All events up to the one that answers the session.
    std::vector<ReceivedEvent> eventsUntil(const std::string& session);
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

#endif // ZUV_TESTS_DESKTOP_SERVICE_SERVICE_CLIENT_H
