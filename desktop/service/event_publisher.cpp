#include "service/event_publisher.h"

#include "service/scenario/delivery.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <ctime>
#include <exception>

namespace velmora::desktop {

EventPublisher::EventPublisher(sd_event* loop, EventRegion& region, Send send, Scenario scenario, Perform perform)
    : m_region(region), m_send(std::move(send)), m_player(loop, std::move(scenario),
                                                          {[this](const Event& answer, const Delivery& delivery) {
                                                               deliver(answer, delivery);
                                                               m_lastAnswer = Clock::now();
                                                           },
                                                           std::move(perform)}),
      m_tasks(loop) {
    sd_event_source* timer = nullptr;
    requireSuccess(sd_event_add_time(loop, &timer, CLOCK_MONOTONIC, 0, 1, onTimer, this), "cannot make a timer");
    m_timer.reset(timer);
    requireSuccess(sd_event_source_set_enabled(timer, SD_EVENT_OFF), "cannot stop a timer");
}

void EventPublisher::publish(Event event) {
    m_tasks.post([this, event = std::move(event)] { m_player.play(event); });
}

void EventPublisher::publishOnBusOnly(Event event) {
    m_tasks.post([this, event = std::move(event)] {
        Delivery delivery;
        delivery.channels = Channels::Bus;
        deliver(event, delivery);
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
            deliver(m_news.front().event, {});
        m_news.pop_front();
    }
    setTimer();
}

void EventPublisher::setTimer() {
    if (m_news.empty())
        return;
    const Clock::duration wait = std::max(m_news.front().due, m_lastAnswer + kAnswerHold) - Clock::now();
    const auto microseconds = std::chrono::ceil<std::chrono::microseconds>(std::max(wait, Clock::duration::zero()));
    sd_event_source_set_time_relative(m_timer.get(), static_cast<uint64_t>(microseconds.count()));
    sd_event_source_set_enabled(m_timer.get(), SD_EVENT_ONESHOT);
}

void EventPublisher::deliver(const Event& event, const Delivery& delivery) {
    const std::vector<std::string> values = deliveredValues(toValues(fitted(event, EventRegion::kSize - 1)), delivery);
    spdlog::log(event.code == ResultCode::Ok ? spdlog::level::debug : spdlog::level::warn,
                "event name={} code={} session={:?} object={:?} kind={:?} detail={:?}", event.name,
                static_cast<int>(event.code), event.session, event.objectId, event.kind, event.detail);
    for (int i = 0; i < delivery.times; ++i) {
        if (delivery.channels != Channels::Bus)
            writeRegion(values, delivery.form);
        if (delivery.channels != Channels::Memory)
            m_send(values);
    }
}

void EventPublisher::writeRegion(const std::vector<std::string>& values, MemoryForm form) {
    const std::string text = memoryText(values, form, EventRegion::kSize);
    try {
        if (text.size() == EventRegion::kSize)
            m_region.fill(text);
        else
            m_region.write(text);
    } catch (const std::exception& error) {
        spdlog::error("event not in shared memory: {}", error.what()); // the bus still brings it
    }
}

} // namespace velmora::desktop
