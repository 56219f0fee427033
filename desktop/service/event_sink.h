#ifndef ZUV_DESKTOP_SERVICE_EVENT_SINK_H
#define ZUV_DESKTOP_SERVICE_EVENT_SINK_H

#include "service/protocol/event.h"

#include <memory>

namespace velmora::desktop {

/// Where events go. Any thread; never blocks; events keep their order.
class EventSink {
public:
    virtual ~EventSink() = default;

    virtual void publish(Event event) = 0;

    /// For what must not replace the answer in shared memory for which a client still polls, and cannot wait.
    virtual void publishOnBusOnly(Event event) = 0;

    /// For news that can wait, so that it does not replace an answer in shared memory for which a client
    /// still polls.
    /// @param subject what the news is about; when it is gone before its turn, so is the news.
    virtual void publishLater(Event event, std::weak_ptr<const void> subject) = 0;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_EVENT_SINK_H
