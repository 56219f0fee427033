#include "desktop/service/recording_sink.h"

#include <gtest/gtest.h>

#include <chrono>

namespace velmora::desktop {

namespace {

constexpr std::chrono::seconds kPatience{20};

} // namespace

void RecordingSink::publish(Event event) {
    const std::lock_guard lock(m_mutex);
    m_events.push_back(std::move(event));
    m_changed.notify_all();
}

void RecordingSink::publishOnBusOnly(Event event) {
    const std::lock_guard lock(m_mutex);
    m_onBusOnly.push_back(std::move(event));
}

void RecordingSink::publishLater(Event event, std::weak_ptr<const void> subject) {
    const std::lock_guard lock(m_mutex);
    m_news.push_back({std::move(event), std::move(subject)});
    m_changed.notify_all();
}

Event RecordingSink::next() {
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, kPatience, [this] { return !m_events.empty(); })) {
        ADD_FAILURE() << "no event came";
        return {};
    }
    Event event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

std::vector<Event> RecordingSink::onBusOnly() {
    const std::lock_guard lock(m_mutex);
    return m_onBusOnly;
}

bool RecordingSink::empty() {
    const std::lock_guard lock(m_mutex);
    return m_events.empty();
}

std::vector<RecordingSink::News> RecordingSink::news(std::size_t count) {
    std::unique_lock lock(m_mutex);
    if (!m_changed.wait_for(lock, kPatience, [&] { return m_news.size() >= count; }))
        ADD_FAILURE() << "no news came";
    return m_news;
}

} // namespace velmora::desktop
