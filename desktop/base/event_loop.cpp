#include "base/event_loop.h"

namespace velmora::desktop {

EventLoop makeEventLoop() {
    sd_event* loop = nullptr;
    requireSuccess(sd_event_new(&loop), "cannot make an event loop");
    return EventLoop(loop);
}

} // namespace velmora::desktop
