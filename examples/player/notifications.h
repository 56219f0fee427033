// The library's callbacks, which put their notifications into a queue for the player's thread.
#ifndef ZUV_EXAMPLES_PLAYER_NOTIFICATIONS_H
#define ZUV_EXAMPLES_PLAYER_NOTIFICATIONS_H

#include "timeline.h"
#include "zuv_media_proxy.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <string>

struct Notification {
    enum class Medium { MainVideo, Advertisement };

    Timeline::Clock::time_point when;
    Medium medium;
    std::string proxyId;
    std::string changed; ///< "url" or "definitions"
    std::string value;
};

/// A queue between the callbacks, whichever threads they run on, and one reader.
///
/// A proxy's lock is held while a callback runs, so the callbacks call nothing in the library: they append to the queue
/// and wake the reader.
class NotificationQueue {
public:
    /// The functions to register. Callbacks are plain functions, so there is one queue for the process.
    static void onMainVideoChanged(std::string proxyId, std::string changed, std::string value);
    static void onAdvertisementChanged(std::string proxyId, std::string changed, std::string value);

    /// The queue of the process. It is never destroyed, because callbacks may run until the process has ended.
    static NotificationQueue& instance();

    /// Takes the oldest notification; waits for one until `deadline`, and returns none if there is none by then.
    std::optional<Notification> take(Timeline::Clock::time_point deadline);

private:
    void append(Notification notification);

    std::mutex m_mutex; // guards m_notifications
    std::condition_variable m_arrived;
    std::deque<Notification> m_notifications;
};

#endif // ZUV_EXAMPLES_PLAYER_NOTIFICATIONS_H
