// The player's programme: a main video, an advertisement break, a seek, and a preloaded next title.
#ifndef ZUV_EXAMPLES_PLAYER_PLAYER_H
#define ZUV_EXAMPLES_PLAYER_PLAYER_H

#include "answers.h"
#include "notifications.h"
#include "timeline.h"
#include "zuv_media_proxy.h"

#include <deque>
#include <memory>
#include <string>

struct Programme {
    std::string mainVideo; ///< as resolveMedium() returns it; likewise the next two
    std::string advertisement;
    std::string nextTitle;
    std::string viewer; ///< a command that shows the main video's local URL; empty for none
    std::string camera; ///< a command that takes a picture of what plays; empty for none
    double seekSeconds = 0.0;
};

/// Plays a programme on one proxy and shows it on a timeline. Everything runs on the calling thread; the library's
/// callbacks and the bus connection only queue their notifications.
class Player {
public:
    /// Registers the callbacks and creates the proxy. Blocks for up to four seconds if the service does not answer.
    ///
    /// @throws std::runtime_error if there is no bus or the service does not answer.
    Player(velmora::ZUVMediaProxyManagerInterface& manager, const Timeline& timeline, bool synchronous);

    /// Plays the whole programme and stops. Every wait has a time limit, except those for the viewer and the camera.
    ///
    /// @throws std::runtime_error with what failed, or did not happen in time.
    void play(const Programme& programme);

private:
    void playMainVideo(const Programme& programme);
    void playAdvertisement(const Programme& programme);
    void seek(const Programme& programme);
    void stop();
    void preload(const std::string& medium);
    void startPreloaded(const std::string& medium);

    /// Waits for one notification about `subject`, which may be one that was already noted.
    Notification awaitNotification(Notification::Medium medium, const std::string& changed, const std::string& subject);

    /// Puts the oldest notification on the timeline. Waits for one until `deadline`; returns false if there is none by
    /// then.
    ///
    /// @throws std::runtime_error if it is a failure of this proxy.
    bool noteNextNotification(Timeline::Clock::time_point deadline);
    void playAWhile();
    void verify(const std::string& name, const std::string& localUrl, const std::string& medium);
    void takePicture(const std::string& camera, const std::string& title, double seconds, const std::string& localUrl);
    void note(const std::string& what);

    const Timeline& m_timeline;
    Answers m_answers;
    std::shared_ptr<velmora::ZUVMediaProxyInterface> m_proxy;
    std::deque<Notification> m_noted; ///< notifications on the timeline that were not awaited yet
};

#endif // ZUV_EXAMPLES_PLAYER_PLAYER_H
