#include "service_monitor.h"

namespace velmora::engine {

void ServiceMonitor::begin() {
    if (!m_isAsking)
        askLater();
}

void ServiceMonitor::askLater() {
    m_isAsking = true;
    m_timer = m_worker.callAfter(m_limits.probeInterval, [this] { ask(); });
}

void ServiceMonitor::ask() {
    m_isAsking = m_isNeeded();
    if (!m_isAsking)
        return;
    m_request = ServiceLink::newRequest();
    m_timer = m_worker.callAfter(m_limits.probeAnswer, [this, now = Worker::Clock::now()] { onUnanswered(now); });
    m_link.inspect(m_request);
}

// While there is a question of its own, only the answer to that counts: a service that was started anew meanwhile
// answers others, but has lost the objects.
void ServiceMonitor::onStatus(const ServiceEvent& event) {
    if (!m_isAsking || (!m_request.empty() && event.request != m_request))
        return;
    m_request.clear();
    m_worker.cancel(m_timer);
    askLater();
}

void ServiceMonitor::onUnanswered(Worker::Clock::time_point since) {
    m_request.clear();
    askLater();
    m_onGone(since);
}

} // namespace velmora::engine
