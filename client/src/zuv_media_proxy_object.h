// The media proxy that applications use: one remote media object, with its main video and its advertisement.
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

/// Keeps the states and URLs of one remote object. It turns the application's calls into requests to the manager, and
/// the service's events into changes of state and callbacks.
class ZUVMediaProxyObject final : public ZUVMediaProxyInterface {
public:
    /// The only way to make one. Uses plain new rather than std::make_shared, so that the object's memory is freed with
    /// its last owner even while weak pointers remain.
    static std::shared_ptr<ZUVMediaProxyObject> create(std::string id);

    /// Sends nothing, takes no lock and does not use the manager, which may hold its mutex at this time.
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

    /// Calls the handler below for an event of this object, and ignores events of other objects. Runs on the bus's
    /// delivery thread or on one of the application; only the handlers take m_mutex.
    void onZUVEvent(std::vector<std::string>& params);

    /// Stores the main video's new definitions, which may be "", and calls the callback unless the main state is idle.
    /// The callback runs without m_mutex.
    void onDefinitionsChanged(std::string definitions);

    // The service's answers. Each handler holds m_mutex from beginning to end. The two that call the application do so
    // with the mutex held, so that every thread sees the callback and the change of state in the same order.
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

    // The first step of an operation: change the medium's fields under m_mutex and return the identifier, so that the
    // request that follows needs no lock.
    std::string markStarting(int32_t& state);
    std::string markIdle(int32_t& state, std::string& url);
    /// Until the preload's answer arrives, an empty URL means that it has not arrived.
    std::string forgetURL(std::string& url);

    /// Handles the service's current event, in case it is the answer to a preload that the bus has not delivered yet.
    /// Logs in the name of `function`.
    void readPreloadAnswer(const char* function);

    // All of these are guarded by m_mutex, with two exceptions: m_id never changes after construction, and
    // m_seekPosition is written without the lock.
    int32_t m_state;   ///< main video, a ZUVMediaProxyState
    int32_t m_adState; ///< advertisement, a ZUVMediaProxyState; never Started
    double m_seekPosition;
    std::string m_id;
    std::string m_localURL;
    std::string m_localAdURL;
    std::string m_reserved; ///< unused, keeps the class layout
    std::string m_definitions;
    ZUVMediaProxyManager* m_manager; ///< not owned: the manager is never destroyed
    std::mutex m_mutex;              ///< not recursive
};

} // namespace velmora

#endif // ZUV_MEDIA_PROXY_OBJECT_H
