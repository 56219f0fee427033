// Brings the outcomes of the engine kit into a program's own poll() loop.
#ifndef ZUV_POLL_LOOP_H
#define ZUV_POLL_LOOP_H

#include "zuv_media_session.h"

#include <memory>

namespace velmora {

/// A queue of tasks with a file descriptor to wait on.
///
///     velmora::PollLoop loop;
///     velmora::MediaSession session(loop.post());
///     pollfd waited{loop.descriptor(), POLLIN, 0};
///     while (poll(&waited, 1, -1) >= 0)
///         loop.dispatch();
class ZUV_ENGINE_EXPORT PollLoop {
public:
    /// @throws std::system_error if there can be no descriptor.
    PollLoop();

    /// Destroys the tasks that were not dispatched. Sessions may outlive this; their tasks are then dropped.
    ~PollLoop();
    PollLoop(const PollLoop&) = delete;
    PollLoop& operator=(const PollLoop&) = delete;

    /// For the constructor of a session; any number of them may share it.
    MediaSession::PostFunction post() const;

    /// Readable while tasks wait. For poll(), epoll or select() only; owned by this, close-on-exec.
    int descriptor() const;

    /// Runs the tasks that wait, and returns at once if there is none. One thread at a time; a task may call it, and so
    /// wait for another. What a callback throws comes out of it; the tasks that still wait are left to the next call.
    void dispatch();

private:
    struct Queue;
    std::shared_ptr<Queue> m_queue;
};

} // namespace velmora

#endif // ZUV_POLL_LOOP_H
