// Notices that the media service has died or hangs.
#ifndef ZUV_ENGINE_SERVICE_MONITOR_H
#define ZUV_ENGINE_SERVICE_MONITOR_H

#include "service_link.h"
#include "worker.h"

#include <functional>
#include <string>

namespace velmora::engine {

/// Asks the service for signs of life, for as long as there is something to lose. What it answers to anybody else is a
/// sign of life as well: any number of sessions together ask about as often as one. One thread.
class ServiceMonitor {
public:
    /// @param isNeeded whether to go on asking.
    /// @param onGone called when the service has not answered; it was gone at the time `since`, and may be back.
    /// @param worker, link, limits outlive this.
    ServiceMonitor(Worker& worker, ServiceLink& link, const SessionLimits& limits, std::function<bool()> isNeeded,
                   std::function<void(Worker::Clock::time_point since)> onGone)
        : m_worker(worker), m_link(link), m_limits(limits), m_isNeeded(std::move(isNeeded)),
          m_onGone(std::move(onGone)) {}

    /// Begins to ask, unless it does so already.
    void begin();

    /// Takes every "status" event.
    void onStatus(const ServiceEvent& event);

private:
    void askLater();
    void ask();
    void onUnanswered(Worker::Clock::time_point since);

    Worker& m_worker;
    ServiceLink& m_link;
    const SessionLimits& m_limits;
    const std::function<bool()> m_isNeeded;
    const std::function<void(Worker::Clock::time_point)> m_onGone;
    bool m_isAsking = false;
    std::string m_request; // of the question that is not answered yet; empty if there is none
    Worker::Timer m_timer; // the next question, or the limit of this one
};

} // namespace velmora::engine

#endif // ZUV_ENGINE_SERVICE_MONITOR_H
