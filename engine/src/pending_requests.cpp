#include "pending_requests.h"

#include <utility>

namespace velmora::engine {

void PendingRequests::begin(Ticket ticket, std::chrono::milliseconds limit, std::function<void()> onTimeout) {
    m_limits[ticket] = m_worker.callAfter(limit, [this, ticket, onTimeout = std::move(onTimeout)] {
        finish(ticket, MediaError{MediaErrorKind::TimedOut, "", "the media service did not answer in time"});
        onTimeout();
    });
}

void PendingRequests::finish(Ticket ticket, Result result) {
    const auto limit = m_limits.extract(ticket);
    if (!limit)
        return;
    m_worker.cancel(limit.mapped());
    m_loop->complete(ticket, std::move(result));
}

} // namespace velmora::engine
