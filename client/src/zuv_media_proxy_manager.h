// The proxy manager, one for the process: bus connection, events, registry of proxies, requests and creation.
#ifndef ZUV_MEDIA_PROXY_MANAGER_H
#define ZUV_MEDIA_PROXY_MANAGER_H

#include "zuv_media_proxy.h"
#include "zuv_model_access.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace velmora {

class ZUVMediaProxyObject;

/// Threads and locks are described at the top of the implementation file.
///
/// Requests come in pairs. The one without suffix publishes its command and returns; in synchronous mode it calls the
/// other one instead. The one with the suffix Sync publishes its command and blocks for at most five polls of 50 ms and
/// the reads between them. It returns 0 when the answer was found, and -1 on time-out or without a bus connection.
class ZUVMediaProxyManager final : public ZUVModelAccessClient {
public:
    // ---- Lifetime and bus connection ----

    /// The process's manager. The first call, which no other may overlap, makes it; it is never deleted.
    static ZUVMediaProxyManager* getInstance();

    /// Connects to the platform's bus. Exceptions of the bus library and of memory allocation pass to the caller.
    ZUVMediaProxyManager();

    /// Shares an existing connection that was neither initialized nor started.
    explicit ZUVMediaProxyManager(std::shared_ptr<IZuvModelAccess> modelAccess);

    /// Removes the name of the service's shared memory; the mapping stays.
    ~ZUVMediaProxyManager();

    ZUVMediaProxyManager(const ZUVMediaProxyManager&) = delete;
    ZUVMediaProxyManager& operator=(const ZUVMediaProxyManager&) = delete;

    void onModelAccessStateChanged() override {}

    /// Creates and initializes the connection unless there is one.
    void createModelAccess();

    /// Asks the platform to start the service, without waiting for it. May be called with m_mutex held.
    void requestStartZUVService();

    // ---- The application's callbacks ----

    void setZUVCallback(ZUVCallback callback);
    void setZUVAdCallback(ZUVCallback callback);

    /// Call the application's callback, on the calling thread and without m_mutex.
    void notifyDefinitionsChanged(const std::string& id, std::string definitions);
    void notifyURLChanged(const std::string& id, std::string url);
    void notifyAdURLChanged(const std::string& id, std::string url);

    // ---- Registry of proxies and identifiers ----

    /// Registers the object under its id() unless that identifier is taken. Does not lock m_mutex.
    void cacheProxyObject(std::shared_ptr<ZUVMediaProxyObject> object);
    std::shared_ptr<ZUVMediaProxyObject> findProxyObjectFromCache(std::string id);
    void removeProxyObjectFromCache(std::string id);
    std::shared_ptr<ZUVMediaProxyInterface> findObjectById(std::string id);
    std::string getRemoteObjectId(std::string id);

    /// Returns 16 random bytes as 35 characters with three hyphens, or "" when out of memory.
    std::string generateUUID();

    /// Returns "ses-" followed by a new UUID text.
    std::string getNextSessionId();

    // ---- Events ----

    /// Handles an event of the service: on the bus's delivery thread, or on the application's thread when a synchronous
    /// request has found its answer in shared memory.
    void onZUVEvent(std::vector<std::string>& params) override;

    /// Publishes a neutral event, which replaces the current value of the event topic.
    void initializeZUVEvent();

    /// Maps the service's shared memory, once more at every call. Returns 0, or -1 if the memory does not exist.
    int checkZUVEventMemory();

    /// Returns the event in shared memory, 11 parameters, or an empty list if there is none.
    std::vector<std::string> readZUVEventMemory();

    /// Returns the event in shared memory; if there is none, the current value of the event topic, for which it blocks
    /// as long as the platform's read does.
    std::vector<std::string> readZUVEvent();

    // ---- Requests ----

    /// Polls shared memory for the event `name` that answers the request `id`, and passes it to onZUVEvent(). Blocks
    /// for at most five sleeps of 50 ms. The caller must not hold m_mutex, which onZUVEvent() takes.
    int waitRequestRemoteObjectCompleted(std::string id, std::string name);

    void requestCreateRemoteObject(std::string id);
    int requestCreateRemoteObjectSync(std::string id);

    void requestRemoteObjectStart(const std::string& objectId, std::string url, int option, std::string kind);
    int requestRemoteObjectStartSync(const std::string& objectId, std::string url, int option, std::string kind);
    void requestRemoteObjectStop(const std::string& objectId, std::string kind);
    int requestRemoteObjectStopSync(const std::string& objectId, std::string kind);
    void requestRemoteObjectSeek(const std::string& objectId, double position, std::string text);
    int requestRemoteObjectSeekSync(const std::string& objectId, double position, std::string text);
    void requestRemoteObjectPreload(const std::string& objectId, double position, std::string text1, std::string text2,
                                    std::string text3, std::string kind);
    int requestRemoteObjectPreloadSync(const std::string& objectId, double position, std::string text1,
                                       std::string text2, std::string text3, std::string kind);

    /// The service does not support pausing: these send nothing.
    void requestRemoteObjectPause(const std::string& objectId);
    bool requestRemoteObjectPauseSync(const std::string& objectId);

    void requestRemoteObjectInspect();
    int requestRemoteObjectInspectSync();

    /// Returns whether the service answered within 200 ms. Any "status" or successful "created" event counts as an
    /// answer. In synchronous mode it blocks for up to 250 ms longer, plus the time of the reads.
    bool checkZUVServiceAlive();

    // ---- Creation ----

    /// None of these returns an empty pointer: a failed creation gives a proxy with an empty identifier.
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxy();
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxy(std::string id);
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxySync();
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxySync(std::string id);

private:
    static constexpr std::size_t kEventMemorySize = 4096;

    bool inSyncMode();
    void notify(const char* function, ZUVCallback callback, const std::string& id, const char* changed,
                std::string value);

    /// Creates the connection if necessary; logs "No Access" in the name of `function` if there still is none.
    bool hasModelAccess(const char* function);
    void publishCommand(const std::vector<std::string>& command);
    int publishCommandAndWait(const std::vector<std::string>& command, const char* answer);

    std::string createNewProxyId();

    /// Both send with `lock` held, so that the answer cannot arrive before the caller waits for it, and return false.
    /// In synchronous mode they release the lock while they send and wait, because onZUVEvent() takes m_mutex on this
    /// thread when the answer is found; they return whether it was.
    bool requestCreation(std::unique_lock<std::mutex>& lock, const std::string& sessionId);
    bool requestInspection(std::unique_lock<std::mutex>& lock);

    /// The asynchronous requests, which do not check the mode. A caller that holds m_mutex checks it once and then
    /// calls these: if they checked again and it had changed, the answer would be handled with the lock held.
    void publishCreation(std::string id);
    void publishInspection();

    // These access shared members without a lock, by contract. They are separate functions so that tests/tsan.supp can
    // suppress exactly these accesses by name.
    std::string copyEventText(const char* memory);
    void forgetAnnouncedIds();
    std::string newestAnnouncedId() const;
    /// Makes and registers a proxy.
    std::shared_ptr<ZUVMediaProxyObject> newAnnouncedProxy(const std::string& id);

    ZUVCallback m_callback;
    ZUVCallback m_adCallback;
    std::map<std::string, std::string> m_remoteObjectIds; ///< always empty
    std::vector<std::string> m_createdObjectIds;          ///< announced by the service, newest last
    std::map<std::string, std::shared_ptr<ZUVMediaProxyObject>> m_proxyObjects;
    std::mutex m_mutex;
    std::shared_ptr<IZuvModelAccess> m_modelAccess;
    std::condition_variable m_condition; ///< with m_mutex: a "status" or successful "created" event arrived
    bool m_syncMode;
    char m_eventBuffer[kEventMemorySize]; ///< private copy of the event text, which is what gets parsed
    char* m_eventMemory;                  ///< read-only mapping of the service's shared memory, null until mapped
};

} // namespace velmora

#endif // ZUV_MEDIA_PROXY_MANAGER_H
