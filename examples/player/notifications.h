// What the player's thread is told: the library's callbacks, and the answers on the bus, in one queue.
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
    std::string changed; ///< "url" or "definitions" by a callback; "seeked", "stopped" or "failed" by an answer
    std::string value;   ///< of a failure: the code and the detail
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

    void append(Notification notification);

    /// Takes the oldest notification; waits for one until `deadline`, and returns none if there is none by then.
    std::optional<Notification> take(Timeline::Clock::time_point deadline);

private:
    std::mutex m_mutex; // guards m_notifications
    std::condition_variable m_arrived;
    std::deque<Notification> m_notifications;
};

#endif // ZUV_EXAMPLES_PLAYER_NOTIFICATIONS_H
