#include "support/participant.h"

#include "support/awaiting.h"

#include <algorithm>

namespace velmora {

void RecordingClient::onModelAccessStateChanged() {
    {
        const desktop::MutexLock lock(m_mutex);
        m_thread = std::this_thread::get_id();
        ++m_stateChanges;
        m_changed.notifyAll();
    }
    if (whenStateChanged)
        whenStateChanged();
}

void RecordingClient::onZUVEvent(Event& event) {
    {
        const desktop::MutexLock lock(m_mutex);
        m_thread = std::this_thread::get_id();
        m_events.push_back(event);
        m_changed.notifyAll();
    }
    if (whenEvent)
        whenEvent(event);
}

bool RecordingClient::awaitEvents(std::size_t count) {
    const desktop::MutexLock lock(m_mutex);
    return m_changed.waitFor(m_mutex, kPatience, [&]() ZUV_REQUIRES(m_mutex) { return m_events.size() >= count; });
}

bool RecordingClient::awaitEvent(const std::function<bool(const Event&)>& wanted, std::chrono::milliseconds limit) {
    const desktop::MutexLock lock(m_mutex);
    return m_changed.waitFor(
        m_mutex, limit, [&]() ZUV_REQUIRES(m_mutex) { return std::any_of(m_events.begin(), m_events.end(), wanted); });
}

bool RecordingClient::awaitStateChanges(int count) {
    const desktop::MutexLock lock(m_mutex);
    return m_changed.waitFor(m_mutex, kPatience, [&]() ZUV_REQUIRES(m_mutex) { return m_stateChanges >= count; });
}

std::vector<Event> RecordingClient::events() const {
    const desktop::MutexLock lock(m_mutex);
    return m_events;
}

int RecordingClient::stateChanges() const {
    const desktop::MutexLock lock(m_mutex);
    return m_stateChanges;
}

std::thread::id RecordingClient::thread() const {
    const desktop::MutexLock lock(m_mutex);
    return m_thread;
}

int Participant::readPatiently(const std::string& topic, Event& value, bool (*isTimeout)(int)) {
    int result = 0;
    eventually([&] { return !isTimeout(result = access.read(topic, value)); });
    return result;
}

bool Participant::awaitValue(const std::string& topic, const Event& value) {
    return eventually([&] {
        Event current;
        return access.read(topic, current) == 0 && current == value;
    });
}

} // namespace velmora
