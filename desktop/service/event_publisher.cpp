#include "service/event_publisher.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <exception>
#include <utility>

namespace velmora::desktop {

namespace {

std::vector<std::string> fittedValues(const Event& event) {
    return toValues(fitted(event, EventRegion::kLongestText));
}

EventOutput outputOf(const Event& event) {
    const std::vector<std::string> values = fittedValues(event);
    return {toJson(values), values};
}

/// The entries that the list has; a scenario can leave some out.
std::string described(const std::vector<std::string>& values) {
    constexpr std::array<std::pair<std::size_t, const char*>, 6> kShown = {{{event_entry::kName, "name"},
                                                                            {event_entry::kCode, "code"},
                                                                            {event_entry::kSession, "session"},
                                                                            {event_entry::kObject, "object"},
                                                                            {event_entry::kKind, "kind"},
                                                                            {event_entry::kDetail, "detail"}}};
    std::string text;
    for (const auto& [entry, name] : kShown) {
        if (entry < values.size())
            text += fmt::format(" {}={}", name, inQuotes(values[entry]));
    }
    return text;
}

/// The beginning of the text: a scenario's can fill the region.
std::string describedText(const std::string& text) {
    constexpr std::size_t kShown = 200;
    return fmt::format(" text={}{}", inQuotes(text.substr(0, kShown)), text.size() > kShown ? "..." : "");
}

bool isFailure(const EventOutput& sent) {
    return sent.bus && sent.bus->size() > event_entry::kCode &&
           sent.bus->at(event_entry::kCode) != std::to_string(static_cast<int>(ResultCode::Ok));
}

/// Logs what really was sent, a failure as a warning. The text in memory is shown where it says something else than the
/// list on the bus.
void logSent(const EventOutput& sent) {
    const char* const channels = sent.memory && sent.bus ? "event sent in memory and on the bus:"
                                 : sent.bus              ? "event sent on the bus only:"
                                 : sent.memory           ? "event sent in memory only:"
                                                         : "event not sent";
    std::string line = channels + (sent.bus ? described(*sent.bus) : "");
    if (sent.memory && !(sent.bus && *sent.memory == toJson(*sent.bus)))
        line += describedText(*sent.memory);
    logFormatted(isFailure(sent) ? Severity::Warning : Severity::Debug, "{}", fmt::make_format_args(line));
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
    sendAnswer(outputOf(answer));
}

void EventPublisher::publishRefusal(Event refusal) {
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
    const bool isInMemory = output.memory && writeRegion(*output.memory);
    const bool isOnBus = output.bus && m_send(*output.bus);
    logSent({isInMemory ? output.memory : std::nullopt, isOnBus ? output.bus : std::nullopt});
}

bool EventPublisher::writeRegion(const std::string& text) {
    try {
        if (text.size() == EventRegion::kSize)
            m_region.fill(text);
        else
            m_region.write(text);
        return true;
    } catch (const std::exception& error) {
        logError("event not in shared memory: {}", error.what()); // the bus still carries it
        return false;
    }
}

} // namespace velmora::desktop
