#include "news.h"

#include <utility>

NewsQueue& NewsQueue::instance() {
    static auto* const queue = new NewsQueue();
    return *queue;
}

void NewsQueue::onMainVideoNews(std::string proxyId, std::string changed, std::string value) {
    instance().append(
        {Timeline::Clock::now(), News::Medium::MainVideo, std::move(proxyId), std::move(changed), std::move(value)});
}

void NewsQueue::onAdvertisementNews(std::string proxyId, std::string changed, std::string value) {
    instance().append({Timeline::Clock::now(), News::Medium::Advertisement, std::move(proxyId), std::move(changed),
                       std::move(value)});
}

void NewsQueue::append(News news) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_news.push_back(std::move(news));
    m_arrived.notify_one();
}

std::optional<News> NewsQueue::take(Timeline::Clock::time_point deadline) {
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!m_arrived.wait_until(lock, deadline, [this] { return !m_news.empty(); }))
        return std::nullopt;
    News news = std::move(m_news.front());
    m_news.pop_front();
    return news;
}
