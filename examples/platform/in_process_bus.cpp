#include "in_process_bus.h"

#include <utility>

namespace {

constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

} // namespace

void Inbox::put(const Values& event) {
    const std::lock_guard lock(m_mutex);
    m_events.push_back(event);
    m_changed.notify_one();
}

std::optional<Values> Inbox::take() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_closed || !m_events.empty(); });
    if (m_closed)
        return std::nullopt;
    Values event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

void Inbox::close() {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
    m_changed.notify_one();
}

// Never destroyed, because connections may exist until the process has ended.
InProcessBus& InProcessBus::instance() {
    static auto* const bus = new InProcessBus;
    return *bus;
}

void InProcessBus::add(const std::shared_ptr<Inbox>& inbox) {
    const std::lock_guard lock(m_mutex);
    m_inboxes.push_back(inbox);
}

void InProcessBus::remove(const std::shared_ptr<Inbox>& inbox) {
    const std::lock_guard lock(m_mutex);
    std::erase(m_inboxes, inbox);
}

std::optional<Values> InProcessBus::valueOf(const std::string& topic) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_values.find(topic);
    return found == m_values.end() ? std::nullopt : std::optional(found->second);
}

void InProcessBus::publish(const std::string& topic, const Values& values) {
    const std::lock_guard lock(m_mutex);
    m_values[topic] = values;
    if (topic != kEventTopic)
        return;
    for (const auto& inbox : m_inboxes)
        inbox->put(values);
}
