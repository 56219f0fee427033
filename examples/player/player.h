// The player's main job: a main video, an advertisement break, a seek, and the next title by way of a
// preload.
#ifndef ZUV_EXAMPLES_PLAYER_PLAYER_H
#define ZUV_EXAMPLES_PLAYER_PLAYER_H

#include "news.h"
#include "timeline.h"
#include "zuv_media_proxy.h"

#include <deque>
#include <memory>
#include <string>

struct Programme {
    std::string mainVideo; ///< a file's absolute path, or an http URL; so are the next two
    std::string advertisement;
    std::string nextTitle;
    double seekSeconds = 0.0;
    bool synchronous = false; ///< create the proxy synchronously, which makes every request wait for its answer
};

/// Plays a programme on one proxy and shows it on a timeline. Everything runs on the calling thread; the
/// library's callbacks only queue their news.
class Player {
public:
    /// Registers the callbacks and creates the proxy, which blocks for up to four seconds without a service.
    /// @throws std::runtime_error when the service does not answer.
    Player(velmora::ZUVMediaProxyManagerInterface& manager, const Timeline& timeline, bool synchronous);

    /// Plays everything and stops. Every wait is bounded.
    /// @throws std::runtime_error that says what did not happen.
    void play(const Programme& programme);

private:
    void playMainVideo(const std::string& medium);
    void playAdvertisement(const std::string& medium);
    void seek(double seconds);
    void stop();
    void preload(const std::string& medium);
    void startPreloaded(const std::string& medium);

    /// Waits for one piece of news about `subject`, also such as was shown before.
    News awaitNews(News::Medium medium, const std::string& changed, const std::string& subject);
    /// Puts the oldest news on the timeline, waiting for it until `deadline`; false when there is none by
    /// then.
    bool showNextNews(Timeline::Clock::time_point deadline);
    void playAWhile();
    void verify(const std::string& localUrl, const std::string& medium);
    void say(const std::string& what);

    const Timeline& m_timeline;
    std::shared_ptr<velmora::ZUVMediaProxyInterface> m_proxy;
    std::deque<News> m_shown; ///< news on the timeline that nobody has waited for yet
};

#endif // ZUV_EXAMPLES_PLAYER_PLAYER_H
