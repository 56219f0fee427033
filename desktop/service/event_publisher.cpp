#include "event_publisher.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <ctime>
#include <exception>

namespace velmora::desktop {

EventPublisher::EventPublisher(sd_event* loop, EventRegion& region, Send send)
    : m_region(region), m_send(std::move(send)), m_tasks(loop) {
    sd_event_source* timer = nullptr;
    requireSuccess(sd_event_add_time(loop, &timer, CLOCK_MONOTONIC, 0, 1, onTimer, this),
                   "cannot make a timer");
    m_timer.reset(timer);
    requireSuccess(sd_event_source_set_enabled(timer, SD_EVENT_OFF), "cannot stop a timer");
}

void EventPublisher::publish(Event event) {
    m_tasks.post([this, event = std::move(event)] {
        write(event);
        m_lastAnswer = Clock::now();
    });
}

void EventPublisher::publishLater(Event event, std::weak_ptr<const void> subject) {
    m_tasks.post([this, event = std::move(event), subject = std::move(subject)] {
        m_news.push_back({event, subject, Clock::now() + kNewsDelay});
        setTimer();
    });
}

int EventPublisher::onTimer(sd_event_source*, uint64_t, void* publisher) {
    static_cast<EventPublisher*>(publisher)->publishDueNews();
    return 0;
}

void EventPublisher::publishDueNews() {
    const Clock::time_point now = Clock::now();
    while (!m_news.empty() && std::max(m_news.front().due, m_lastAnswer + kAnswerHold) <= now) {
        if (!m_news.front().subject.expired())
            write(m_news.front().event);
        m_news.pop_front();
    }
    setTimer();
}

void EventPublisher::setTimer() {
    if (m_news.empty())
        return;
    const Clock::duration wait = std::max(m_news.front().due, m_lastAnswer + kAnswerHold) - Clock::now();
    const auto microseconds =
        std::chrono::ceil<std::chrono::microseconds>(std::max(wait, Clock::duration::zero()));
    sd_event_source_set_time_relative(m_timer.get(), static_cast<uint64_t>(microseconds.count()));
    sd_event_source_set_enabled(m_timer.get(), SD_EVENT_ONESHOT);
}

void EventPublisher::write(const Event& event) {
    const std::vector<std::string> values = toValues(fitted(event, EventRegion::kSize - 1));
    spdlog::log(event.code == ResultCode::Ok ? spdlog::level::debug : spdlog::level::warn,
                "event name={} code={} session={:?} object={:?} kind={:?} detail={:?}", event.name,
                static_cast<int>(event.code), event.session, event.objectId, event.kind, event.detail);
    try {
        m_region.write(toJson(values));
    } catch (const std::exception& error) {
        spdlog::error("event not in shared memory: {}", error.what()); // the bus still brings it
    }
    m_send(values);
}

} // namespace velmora::desktop
