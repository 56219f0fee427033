// The proxy manager: bus connection, events, registry of proxies, commands and creation. One for the process.
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
/// Requests come in pairs. The asynchronous one publishes its command and returns; in synchronous mode it
/// runs the other one instead. The one with the suffix Sync publishes, blocks its caller for at most five
/// polls of 50 ms and the reads between them, and returns 0 when the answer was seen, -1 on time-out or
/// without a bus connection.
class ZUVMediaProxyManager final : public ZUVModelAccessClient {
public:
    // ---- Life and bus connection ----

    /// The process's manager, made by the first call (which belongs to one thread) and never deleted.
    static ZUVMediaProxyManager* getInstance();

    /// Connects to the platform's bus. Exceptions of the bus library and of memory allocation pass to the
    /// caller.
    ZUVMediaProxyManager();
    /// Shares a connection that exists already and was not started yet.
    explicit ZUVMediaProxyManager(std::shared_ptr<IZuvModelAccess> modelAccess);
    /// Removes the name of the service's shared memory; the mapping stays.
    ~ZUVMediaProxyManager();

    ZUVMediaProxyManager(const ZUVMediaProxyManager&) = delete;
    ZUVMediaProxyManager& operator=(const ZUVMediaProxyManager&) = delete;

    void onModelAccessStateChanged() override {}

    /// Creates and initializes the connection if there is none.
    void createModelAccess();

    /// Asks the platform to start the service. Does not wait for it; may be called with m_mutex held.
    void requestStartZUVService();

    // ---- The application's callbacks ----

    void setZUVCallback(ZUVCallback callback);
    void setZUVAdCallback(ZUVCallback callback);

    /// Call the application with one piece of news, on the calling thread and without m_mutex.
    void notifyDefinitionsChanged(const std::string& id, std::string definitions);
    void notifyURLChanged(const std::string& id, std::string url);
    void notifyAdURLChanged(const std::string& id, std::string url);

    // ---- Registry of proxies and identifiers ----

    /// Registers the object under its id() unless that identifier is taken. Takes no lock of its own.
    void cacheProxyObject(std::shared_ptr<ZUVMediaProxyObject> object);
    std::shared_ptr<ZUVMediaProxyObject> findProxyObjectFromCache(std::string id);
    void removeProxyObjectFromCache(std::string id);
    std::shared_ptr<ZUVMediaProxyInterface> findObjectById(std::string id);
    std::string getRemoteObjectId(std::string id);

    /// 16 random bytes as 35 characters with three hyphens, or "" without memory.
    std::string generateUUID();
    /// "ses-" and a fresh UUID text.
    std::string getNextSessionId();

    // ---- Events ----

    /// Every event of the service: from the bus on its delivery thread, or replayed by a synchronous request
    /// on the application's thread.
    void onZUVEvent(std::vector<std::string>& params) override;

    /// Publishes a neutral event, which takes the place of the one that the event topic last carried.
    void initializeZUVEvent();

    /// Maps the service's shared memory, anew at every call. 0, or -1 when it is not there.
    int checkZUVEventMemory();
    /// The event in shared memory, 11 parameters, or an empty list when there is none.
    std::vector<std::string> readZUVEventMemory();
    /// The event in shared memory or else on the bus, which may block for as long as the platform's read
    /// does.
    std::vector<std::string> readZUVEvent();

    // ---- Commands ----

    /// Polls shared memory for the event `name` that answers the request `id` and replays it into
    /// onZUVEvent(). Blocks for at most five sleeps of 50 ms; m_mutex must not be held by the caller when the
    /// answer can come.
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

    /// The service has no pause: these send nothing.
    void requestRemoteObjectPause(const std::string& objectId);
    bool requestRemoteObjectPauseSync(const std::string& objectId);

    void requestRemoteObjectInspect();
    int requestRemoteObjectInspectSync();

    /// Whether the service answered within 200 ms. Any "status" or successful "created" event counts as an
    /// answer. In synchronous mode it blocks for up to 250 ms and the reads more.
    bool checkZUVServiceAlive();

    // ---- Creation ----

    /// Creation never returns an empty pointer: a failure gives a proxy with an empty identifier.
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxy();
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxy(std::string id);
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxySync();
    std::shared_ptr<ZUVMediaProxyObject> createNewZUVMediaProxySync(std::string id);

private:
    static constexpr std::size_t kEventMemorySize = 4096;

    bool inSyncMode();
    void notify(const char* function, ZUVCallback callback, const std::string& id, const char* changed,
                std::string value);

    /// Makes sure that there is a connection; logs "No Access" in the name of `function` when there is none.
    bool hasModelAccess(const char* function);
    void publishCommand(const std::vector<std::string>& command);
    int publishCommandAndWait(const std::vector<std::string>& command, const char* answer);

    std::string createNewProxyId();
    /// Both send with `lock` held, but for synchronous mode, where the answer's replay takes m_mutex on this
    /// thread: then it is released meanwhile, and the result says whether the answer came.
    bool requestCreation(std::unique_lock<std::mutex>& lock, const std::string& sessionId);
    bool requestInspection(std::unique_lock<std::mutex>& lock);
    /// The asynchronous requests, once it is settled that the mode is not synchronous: who holds m_mutex
    /// looks at the mode once, lest it change in between and the answer be replayed under the lock.
    void publishCreation(std::string id);
    void publishInspection();

    // Take no lock, by contract. Functions of their own, so that a race detector can be told of these
    // accesses and of no others: tests/tsan.supp knows them by name.
    std::string copyEventText(const char* memory);
    void forgetAnnouncedIds();
    std::string newestAnnouncedId() const;
    /// Made and registered.
    std::shared_ptr<ZUVMediaProxyObject> newAnnouncedProxy(const std::string& id);

    ZUVCallback m_callback;
    ZUVCallback m_adCallback;
    std::map<std::string, std::string> m_remoteObjectIds; ///< nothing fills it
    std::vector<std::string> m_createdObjectIds;          ///< announced by the service, newest last
    std::map<std::string, std::shared_ptr<ZUVMediaProxyObject>> m_proxyObjects;
    std::mutex m_mutex;
    std::shared_ptr<IZuvModelAccess> m_modelAccess;
    std::condition_variable m_condition; ///< with m_mutex: a "status" or successful "created" event came
    bool m_syncMode;
    char m_eventBuffer[kEventMemorySize]; ///< private copy of the event text, the one that is parsed
    char* m_eventMemory;                  ///< read-only mapping of the service's region, null until mapped
};

} // namespace velmora

#endif // ZUV_MEDIA_PROXY_MANAGER_H
