#include "desktop/service/recording_sink.h"

#include <gtest/gtest.h>

#include <chrono>

namespace velmora::desktop {

namespace {

constexpr std::chrono::seconds kPatience{20};

} // namespace

void RecordingSink::publishAnswer(CommandName command, Event answer) {
    const MutexLock lock(m_mutex);
    m_answers.push_back({command, std::move(answer)});
    m_changed.notifyAll();
}

void RecordingSink::publishRefusal(Event refusal) {
    const MutexLock lock(m_mutex);
    m_refusals.push_back(std::move(refusal));
}

void RecordingSink::publishNews(Event news, std::weak_ptr<const void> subject) {
    const MutexLock lock(m_mutex);
    m_news.push_back({std::move(news), std::move(subject)});
    m_changed.notifyAll();
}

Event RecordingSink::next() {
    const MutexLock lock(m_mutex);
    if (!m_changed.waitFor(m_mutex, kPatience, [this]() ZUV_REQUIRES(m_mutex) { return !m_answers.empty(); })) {
        ADD_FAILURE() << "no answer came";
        return {};
    }
    Answer answer = std::move(m_answers.front());
    m_answers.pop_front();
    m_answered = answer.command;
    return answer.event;
}

CommandName RecordingSink::answeredCommand() {
    const MutexLock lock(m_mutex);
    return m_answered.value();
}

std::vector<Event> RecordingSink::refusals() {
    const MutexLock lock(m_mutex);
    return m_refusals;
}

bool RecordingSink::empty() {
    const MutexLock lock(m_mutex);
    return m_answers.empty();
}

std::vector<RecordingSink::News> RecordingSink::news(std::size_t count) {
    const MutexLock lock(m_mutex);
    if (!m_changed.waitFor(m_mutex, kPatience,
                           [this, count]() ZUV_REQUIRES(m_mutex) { return m_news.size() >= count; }))
        ADD_FAILURE() << "no news came";
    return m_news;
}

} // namespace velmora::desktop
