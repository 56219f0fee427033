// The player's programme: a main video, an advertisement break, a seek, and a preloaded next title.
#ifndef ZUV_EXAMPLES_PLAYER_PLAYER_H
#define ZUV_EXAMPLES_PLAYER_PLAYER_H

#include "notifications.h"
#include "timeline.h"
#include "zuv_media_proxy.h"

#include <deque>
#include <memory>
#include <string>

struct Programme {
    std::string mainVideo; ///< the absolute path of a file, or an http URL; likewise the next two
    std::string advertisement;
    std::string nextTitle;
    double seekSeconds = 0.0;
    bool synchronous = false; ///< create the proxy synchronously; every request then waits for its answer
};

/// Plays a programme on one proxy and shows it on a timeline. Everything runs on the calling thread; the library's
/// callbacks only queue their notifications.
class Player {
public:
    /// Registers the callbacks and creates the proxy. Blocks for up to four seconds if the service does not answer.
    ///
    /// @throws std::runtime_error if the service does not answer.
    Player(velmora::ZUVMediaProxyManagerInterface& manager, const Timeline& timeline, bool synchronous);

    /// Plays the whole programme and stops. Every wait has a time limit.
    ///
    /// @throws std::runtime_error with what did not happen in time.
    void play(const Programme& programme);

private:
    void playMainVideo(const std::string& medium);
    void playAdvertisement(const std::string& medium);
    void seek(double seconds);
    void stop();
    void preload(const std::string& medium);
    void startPreloaded(const std::string& medium);

    /// Waits for one notification about `subject`, which may be one that was already shown.
    Notification awaitNotification(Notification::Medium medium, const std::string& changed, const std::string& subject);

    /// Puts the oldest notification on the timeline. Waits for one until `deadline`; returns false if there is none by
    /// then.
    bool showNextNotification(Timeline::Clock::time_point deadline);
    void playAWhile();
    void verify(const std::string& localUrl, const std::string& medium);
    void say(const std::string& what);

    const Timeline& m_timeline;
    std::shared_ptr<velmora::ZUVMediaProxyInterface> m_proxy;
    std::deque<Notification> m_shown; ///< notifications on the timeline that were not awaited yet
};

#endif // ZUV_EXAMPLES_PLAYER_PLAYER_H
