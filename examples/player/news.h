// The way out of a callback: news of the proxies is queued, and the player's own thread takes it from there.
#ifndef ZUV_EXAMPLES_PLAYER_NEWS_H
#define ZUV_EXAMPLES_PLAYER_NEWS_H

#include "timeline.h"
#include "zuv_media_proxy.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

struct News {
    enum class Medium { MainVideo, Advertisement };

    Timeline::Clock::time_point when;
    Medium medium;
    std::string proxyId;
    std::string changed; ///< "url" or "definitions"
    std::string value;
};

/// A queue between the callbacks, on whatever threads they run, and one reader.
///
/// The callbacks hold a proxy's lock: they only append and wake the reader, and call nothing of the library.
class NewsQueue {
public:
    /// The functions to register. Callbacks are plain functions, so there is one queue for the process.
    static void onMainVideoNews(std::string proxyId, std::string changed, std::string value);
    static void onAdvertisementNews(std::string proxyId, std::string changed, std::string value);

    /// The process's queue. It is never destroyed: a callback may come until the process has ended.
    static NewsQueue& instance();

    /// Takes the oldest news, waiting for it until `deadline`; nothing when there is none by then.
    std::optional<News> take(Timeline::Clock::time_point deadline);

private:
    void append(News news);

    std::mutex m_mutex; // guards m_news
    std::condition_variable m_arrived;
    std::deque<News> m_news;
};

#endif // ZUV_EXAMPLES_PLAYER_NEWS_H
