// The interface through which the parts of the service publish events.
#ifndef ZUV_DESKTOP_SERVICE_EVENT_SINK_H
#define ZUV_DESKTOP_SERVICE_EVENT_SINK_H

#include "service/protocol/event.h"

#include <memory>

namespace velmora::desktop {

/// Takes events to publish. Never blocks; events keep their order. Each class says on which threads it may be called.
class EventSink {
public:
    virtual ~EventSink() = default;

    /// Publishes the answer to a command.
    virtual void publishAnswer(CommandName command, Event answer) = 0;

    /// Publishes the refusal of a list that is not a command: on the bus only, where it does not replace the answer in
    /// shared memory that a client may be polling for.
    virtual void publishRefusal(Event refusal) = 0;

    /// Publishes news, delayed so that it does not replace an answer in shared memory that a client may be polling for.
    /// @param subject what the news is about. News whose subject no longer exists when its time comes is dropped.
    virtual void publishNews(Event news, std::weak_ptr<const void> subject) = 0;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_EVENT_SINK_H
