#ifndef ZUV_TESTS_DESKTOP_SERVICE_RECORDING_SINK_H
#define ZUV_TESTS_DESKTOP_SERVICE_RECORDING_SINK_H

#include "service/event_sink.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

namespace velmora::desktop {

/// Keeps events for a test to look at. Any thread.
class RecordingSink final : public EventSink {
public:
    struct News {
        Event event;
        std::weak_ptr<const void> subject;
    };

    void publish(Event event) override;
    void publishOnBusOnly(Event event) override;
    void publishLater(Event event, std::weak_ptr<const void> subject) override;

    /// The next event that was published, in their order; waits for it. A failed test when it does not come.
    Event next();

    /// The events that were published on the bus only.
    std::vector<Event> onBusOnly();

    /// Whether events wait for next().
    bool empty();

    /// All that was to be published later. What belongs to an answer is here soon after it.
    std::vector<News> news(std::size_t count);

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Event> m_events;
    std::vector<Event> m_onBusOnly;
    std::vector<News> m_news;
};

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_RECORDING_SINK_H
