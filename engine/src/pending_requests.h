// The requests of a session that have no outcome yet.
#ifndef ZUV_ENGINE_PENDING_REQUESTS_H
#define ZUV_ENGINE_PENDING_REQUESTS_H

#include "host_loop.h"
#include "worker.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>

namespace velmora::engine {

/// Sees to it that every request has one outcome, at the latest when its time is over. One thread.
class PendingRequests {
public:
    /// @param worker outlives this.
    PendingRequests(Worker& worker, std::shared_ptr<HostLoop> loop) : m_worker(worker), m_loop(std::move(loop)) {}

    /// @param onTimeout called after the request has failed because its time was over.
    void begin(Ticket ticket, std::chrono::milliseconds limit, std::function<void()> onTimeout);

    /// Ends a request; does nothing when it has ended, or for the ticket 0.
    void finish(Ticket ticket, Result result);

    bool isEmpty() const { return m_limits.empty(); }

private:
    Worker& m_worker;
    const std::shared_ptr<HostLoop> m_loop;
    std::map<Ticket, Worker::Timer> m_limits;
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_PENDING_REQUESTS_H
