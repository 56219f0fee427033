// Owning pointers to libsystemd's event loop and to what is attached to it.
#ifndef ZUV_DESKTOP_BASE_EVENT_LOOP_H
#define ZUV_DESKTOP_BASE_EVENT_LOOP_H

#include "base/system_error.h"

#include <systemd/sd-event.h>

#include <memory>

namespace velmora::desktop {

struct SdEventRelease {
    void operator()(sd_event* loop) const { sd_event_unref(loop); }
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};

using EventLoop = std::unique_ptr<sd_event, SdEventRelease>;
/// Once it is destroyed, the loop no longer calls its handler.
using EventSource = std::unique_ptr<sd_event_source, SdEventRelease>;

/// @throws std::system_error
EventLoop makeEventLoop();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_EVENT_LOOP_H
