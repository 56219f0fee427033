// A bus within one process: keeps the current value of each topic, and hands events to the connections.
#ifndef ZUV_EXAMPLES_PLATFORM_IN_PROCESS_BUS_H
#define ZUV_EXAMPLES_PLATFORM_IN_PROCESS_BUS_H

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

using Values = std::vector<std::string>;

/// The queue of events for one connection. The bus, the connection and its delivery thread share ownership of it.
class Inbox {
public:
    void put(const Values& event);

    /// Waits for the next event. Returns none once the inbox is closed, even if events are left in it.
    std::optional<Values> take();
    void close();

private:
    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    std::deque<Values> m_events;
    bool m_closed = false;
};

/// The bus: the current value of each topic, and an inbox for each connection that receives events. No operation waits
/// for a client.
class InProcessBus {
public:
    static InProcessBus& instance();

    void add(const std::shared_ptr<Inbox>& inbox);
    void remove(const std::shared_ptr<Inbox>& inbox);

    std::optional<Values> valueOf(const std::string& topic);
    void publish(const std::string& topic, const Values& values);

private:
    // Guards everything below. Held while an event is put into the inboxes, so that all have the same order of events.
    std::mutex m_mutex;
    std::map<std::string, Values> m_values;
    std::vector<std::shared_ptr<Inbox>> m_inboxes;
};

#endif // ZUV_EXAMPLES_PLATFORM_IN_PROCESS_BUS_H
