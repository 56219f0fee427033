// The media proxy that applications hold: one remote media object, with its main video and its advertisement.
#ifndef ZUV_MEDIA_PROXY_OBJECT_H
#define ZUV_MEDIA_PROXY_OBJECT_H

#include "zuv_media_proxy.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velmora {

class ZUVMediaProxyManager;

/// Keeps the states and URLs of one remote object, turns the application's calls into requests of the
/// manager, and the service's events into changes of state and notifications.
class ZUVMediaProxyObject final : public ZUVMediaProxyInterface {
public:
    /// The only way to make one. Plain new, so that the object's memory goes as soon as its last owner lets
    /// go, even while weak pointers remain.
    static std::shared_ptr<ZUVMediaProxyObject> create(std::string id);

    /// Sends nothing, takes no lock and leaves the manager alone: the manager may hold its mutex meanwhile.
    ~ZUVMediaProxyObject() override = default;

    std::string id() override;
    std::string localURL() override;
    int getState() override;
    void start(std::string url, int option) override;
    void stop() override;
    void pause() override;
    void seek(double position, std::string text) override;
    void preload(double position, std::string text1, std::string text2, std::string text3) override;
    std::string localAdURL() override;
    int getAdState() override;
    void startAd(std::string url, int option) override;
    void stopAd() override;
    void preloadAd(std::string text1, std::string text3) override;

    /// Decodes one event, for whatever object, and calls the handler below that it is meant for. Runs on the
    /// bus delivery thread or on an application's; takes m_mutex only through the handlers.
    void onZUVEvent(std::vector<std::string>& params);

    /// New definitions for the main video, "" included: kept, and notified while the main state is not idle.
    /// The notification is made without m_mutex.
    void onDefinitionsChanged(std::string definitions);

    // The service's answers. Each handler holds m_mutex for its whole body: the two that notify call the
    // application with it held, which puts the notification and the change of state in one order for every
    // thread.
    void onMediaStarted(std::string url);
    void onMediaStopped();
    void onMediaStartedFailed(std::string code, std::string detail);
    void onMediaStoppedFailed(std::string code, std::string detail);
    void onMediaSeeked();
    void onMediaSeekedFailed(std::string code, std::string detail);
    void onAdMediaStarted(std::string url);
    void onAdMediaStopped();
    void onAdMediaStartedFailed(std::string code, std::string detail);
    void onAdMediaStoppedFailed(std::string code, std::string detail);

private:
    explicit ZUVMediaProxyObject(std::string id);

    std::string definitions();

    // The first step of an operation: change the medium's fields under m_mutex and return the identifier, so
    // that the request that follows is made without the lock.
    std::string markStarting(int32_t& state);
    std::string markIdle(int32_t& state, std::string& url);
    /// An empty URL stands for "the preload's answer is not here yet" until the answer fills it.
    std::string forgetURL(std::string& url);

    /// Hands the service's current event to this object, in case it is the answer to a preload that the bus
    /// has not delivered yet. Logs in the name of `function`.
    void readPreloadAnswer(const char* function);

    // All of these are guarded by m_mutex, but for two: m_id never changes after construction, and
    // m_seekPosition is written outside the lock.
    int32_t m_state;   ///< main video, a ZUVMediaProxyState
    int32_t m_adState; ///< advertisement, a ZUVMediaProxyState; never Started
    double m_seekPosition;
    std::string m_id;
    std::string m_localURL;
    std::string m_localAdURL;
    std::string m_reserved; ///< unused; holds its place in the layout
    std::string m_definitions;
    ZUVMediaProxyManager* m_manager; ///< not owned: the manager is never destroyed
    std::mutex m_mutex;              ///< not recursive
};

} // namespace velmora

#endif // ZUV_MEDIA_PROXY_OBJECT_H
