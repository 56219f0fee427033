#ifndef ZUV_DESKTOP_BASE_EVENT_LOOP_H
#define ZUV_DESKTOP_BASE_EVENT_LOOP_H

#include <systemd/sd-event.h>

#include <memory>

namespace velmora::desktop {

struct SdEventRelease {
    void operator()(sd_event* loop) const { sd_event_unref(loop); }
    void operator()(sd_event_source* source) const { sd_event_source_disable_unref(source); }
};

using EventLoop = std::unique_ptr<sd_event, SdEventRelease>;
/// Nothing is called any more once this is gone.
using EventSource = std::unique_ptr<sd_event_source, SdEventRelease>;

/// @throws std::system_error when a call of libsystemd returned an error, a negative errno.
void requireSuccess(int result, const char* what);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BASE_EVENT_LOOP_H
