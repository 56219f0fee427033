#include "notifications.h"

#include <utility>

NotificationQueue& NotificationQueue::instance() {
    static auto* const queue = new NotificationQueue();
    return *queue;
}

void NotificationQueue::onMainVideoChanged(std::string proxyId, std::string changed, std::string value) {
    instance().append({Timeline::Clock::now(), Notification::Medium::MainVideo, std::move(proxyId), std::move(changed),
                       std::move(value)});
}

void NotificationQueue::onAdvertisementChanged(std::string proxyId, std::string changed, std::string value) {
    instance().append({Timeline::Clock::now(), Notification::Medium::Advertisement, std::move(proxyId),
                       std::move(changed), std::move(value)});
}

void NotificationQueue::append(Notification notification) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_notifications.push_back(std::move(notification));
    m_arrived.notify_one();
}

std::optional<Notification> NotificationQueue::take(Timeline::Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_arrived.wait_until(lock, deadline, [this] { return !m_notifications.empty(); }))
        return std::nullopt;
    Notification notification = std::move(m_notifications.front());
    m_notifications.pop_front();
    return notification;
}
