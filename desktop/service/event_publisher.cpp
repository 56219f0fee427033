#include "service/event_publisher.h"

#include <spdlog/spdlog.h>

#include <algorithm>
#include <ctime>
#include <exception>

namespace velmora::desktop {

namespace {

std::vector<std::string> fittedValues(const Event& event) {
    return toValues(fitted(event, EventRegion::kLongestText));
}

EventOutput outputOf(const Event& event) {
    const std::vector<std::string> values = fittedValues(event);
    return {toJson(values), values};
}

} // namespace

EventPublisher::EventPublisher(sd_event* loop, EventRegion& region, Send send)
    : m_region(region), m_send(std::move(send)) {
    sd_event_source* timer = nullptr;
    requireSuccess(sd_event_add_time(loop, &timer, CLOCK_MONOTONIC, 0, 1, onTimer, this), "cannot make a timer");
    m_timer.reset(timer);
    requireSuccess(sd_event_source_set_enabled(timer, SD_EVENT_OFF), "cannot stop a timer");
}

void EventPublisher::publishAnswer(CommandName, Event answer) {
    logEvent(answer);
    sendAnswer(outputOf(answer));
}

void EventPublisher::publishRefusal(Event refusal) {
    logEvent(refusal);
    send({std::nullopt, fittedValues(refusal)});
}

void EventPublisher::publishNews(Event news, std::weak_ptr<const void> subject) {
    m_news.push_back({std::move(news), std::move(subject), Clock::now() + kNewsDelay});
    setTimer();
}

void EventPublisher::sendAnswer(const EventOutput& output) {
    send(output);
    m_lastAnswer = Clock::now();
}

int EventPublisher::onTimer(sd_event_source*, uint64_t, void* publisher) {
    static_cast<EventPublisher*>(publisher)->publishDueNews();
    return 0;
}

void EventPublisher::publishDueNews() {
    const Clock::time_point now = Clock::now();
    while (!m_news.empty() && nextNewsTime() <= now) {
        const News news = std::move(m_news.front());
        m_news.pop_front();
        if (news.subject.expired())
            continue;
        logEvent(news.event);
        send(outputOf(news.event));
    }
    setTimer();
}

void EventPublisher::setTimer() {
    if (m_news.empty())
        return;
    const Clock::duration wait = std::max(nextNewsTime() - Clock::now(), Clock::duration::zero());
    const auto microseconds = std::chrono::ceil<std::chrono::microseconds>(wait);
    sd_event_source_set_time_relative(m_timer.get(), static_cast<uint64_t>(microseconds.count()));
    sd_event_source_set_enabled(m_timer.get(), SD_EVENT_ONESHOT);
}

EventPublisher::Clock::time_point EventPublisher::nextNewsTime() const {
    return std::max(m_news.front().due, m_lastAnswer + kAnswerHold);
}

void EventPublisher::send(const EventOutput& output) {
    if (output.memory)
        writeRegion(*output.memory);
    if (output.bus)
        m_send(*output.bus);
}

void EventPublisher::writeRegion(const std::string& text) {
    try {
        if (text.size() == EventRegion::kSize)
            m_region.fill(text);
        else
            m_region.write(text);
    } catch (const std::exception& error) {
        spdlog::error("event not in shared memory: {}", error.what()); // the bus still carries it
    }
}

} // namespace velmora::desktop
