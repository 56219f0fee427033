// The way back to the host: its callbacks, and the one function that posts their calls to its loop.
#ifndef ZUV_ENGINE_HOST_LOOP_H
#define ZUV_ENGINE_HOST_LOOP_H

#include "zuv_media_session.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velmora::engine {

/// Stands for the completion of a request.
using Ticket = std::uint64_t;

/// The outcome of any request; requests without a value have an empty one.
using Result = Outcome<std::string>;

/// Keeps the host's callbacks, and calls them on the host's loop until close(). They are destroyed there or in close(),
/// never on a thread of the kit. Any thread.
class HostLoop : public std::enable_shared_from_this<HostLoop> {
public:
    HostLoop(MediaSession::PostFunction post, SessionObserver observer);

    /// @return a ticket that is unique in the session, also for an empty completion.
    Ticket keep(std::function<void(const Result&)> completion);

    // Each posts one call. Nothing is called after close().
    void complete(Ticket ticket, Result result);
    void reportDefinitions(Title title, std::vector<Definition> definitions);
    void reportLost(Title title, MediaError error);

    /// Ends the calls: see ~MediaSession().
    void close();

private:
    /// Lets one call of the host run, unless the loop is closed.
    class Entry;

    void post(std::function<void()> call);
    std::function<void(const Result&)> take(Ticket ticket);
    bool isRunningElsewhere() const;

    // Calls of the host use these without the mutex: only close() changes them, after the last call elsewhere.
    std::shared_ptr<const MediaSession::PostFunction> m_post;
    std::shared_ptr<const SessionObserver> m_observer;

    std::mutex m_mutex; // guards everything below
    std::condition_variable m_left;
    bool m_closed = false;
    std::vector<std::thread::id> m_running; // the threads in calls of the host, once for each call
    std::map<Ticket, std::function<void(const Result&)>> m_completions;
    Ticket m_lastTicket = 0;
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_HOST_LOOP_H
