// Passes events from any thread to the thread of the event loop.
#ifndef ZUV_DESKTOP_SERVICE_EVENT_QUEUE_H
#define ZUV_DESKTOP_SERVICE_EVENT_QUEUE_H

#include "base/loop_tasks.h"
#include "service/event_sink.h"

namespace velmora::desktop {

/// An EventSink for any thread in front of one for the loop's thread.
class EventQueue final : public EventSink {
public:
    /// @param loop and next outlive this; `next` is called on the loop's thread.
    EventQueue(sd_event* loop, EventSink& next) : m_next(next), m_tasks(loop) {}

    void publishAnswer(CommandName command, Event answer) override;
    void publishRefusal(Event refusal) override;
    void publishNews(Event news, std::weak_ptr<const void> subject) override;

private:
    EventSink& m_next;
    LoopTasks m_tasks;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_EVENT_QUEUE_H
