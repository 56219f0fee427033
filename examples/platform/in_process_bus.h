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

/// The events that wait for one connection. Shared by the bus, the connection and its delivery thread;
/// whoever needs it last keeps it alive.
class Inbox {
public:
    void put(const Values& event);

    /// Waits for the next event. None once the inbox is closed, whatever is still in it.
    std::optional<Values> take();
    void close();

private:
    std::mutex m_mutex; // guards everything below
    std::condition_variable m_changed;
    std::deque<Values> m_events;
    bool m_closed = false;
};

/// The bus: what each topic last carried, and who gets what is published on the event topic. No operation
/// waits for a client.
class InProcessBus {
public:
    static InProcessBus& instance();

    void add(const std::shared_ptr<Inbox>& inbox);
    void remove(const std::shared_ptr<Inbox>& inbox);

    std::optional<Values> valueOf(const std::string& topic);
    void publish(const std::string& topic, const Values& values);

private:
    // Guards everything below, and is held while an event goes into the inboxes: they all have one order.
    std::mutex m_mutex;
    std::map<std::string, Values> m_values;
    std::vector<std::shared_ptr<Inbox>> m_inboxes;
};

#endif // ZUV_EXAMPLES_PLATFORM_IN_PROCESS_BUS_H
