#include "zuv_media_proxy_manager.h"

#include "command.h"
#include "event_parameters.h"
#include "monotonic_clock.h"
#include "unguarded_member.h"
#include "zuv_log.h"
#include "zuv_media_proxy_object.h"

#include <fcntl.h>
#include <json/json.h>
#include <sys/mman.h>
#include <unistd.h>
#include <uuid/uuid.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

// THREADS AND LOCKS
//
// onZUVEvent() runs on the bus connection's delivery thread. In synchronous mode it also runs on an application's
// thread, when a request has found its answer in shared memory. Everything else runs on the application's threads.
//
// m_mutex, with m_condition, guards m_proxyObjects and m_createdObjectIds. It is not recursive. createNewProxyId() and
// checkZUVServiceAlive() hold it while they publish, so that an answer cannot be signalled before they wait. They
// release it while they wait; in synchronous mode also while they send, because onZUVEvent() then takes it on the same
// thread.
//
// Lock order: a proxy object's mutex, then m_mutex (a callback, called with the object's mutex held, may look up a
// proxy). Never the other way round, not even for an object that no other thread can reach yet: lock order checkers do
// not know that.
//
// Without a lock, by contract:
// - m_callback, m_adCallback, m_syncMode and m_eventMemory: set during set-up, read on any thread. They are accessed
//   through loadUnguarded() and storeUnguarded(), so that setting one late is not undefined behaviour.
// - m_modelAccess: set by the constructor. m_remoteObjectIds: never changed.
// - m_eventBuffer, which all synchronous requests share; m_createdObjectIds in createNewZUVMediaProxySync(); the
//   registration in the two forms of creation without identifier. These are races that the interface excludes:
//   applications create proxies from one thread and make one synchronous request at a time.

namespace velmora {
namespace {

constexpr const char* kEventMemoryName = "/ZUV_PROXY";

constexpr std::size_t kNeutralEventSize = 10; // one less than a command; devices in the field rely on it

constexpr int kPollMilliseconds = 50;
constexpr int kAnswerLimitMilliseconds = 250;

constexpr double kRestartAfterSeconds = 0.2;
constexpr double kGiveUpAfterSeconds = 2.0; // counted from the restart
constexpr std::chrono::milliseconds kRestartWait{500};
constexpr std::chrono::milliseconds kAttemptWait{200};
constexpr std::chrono::milliseconds kAliveWait{200};

// Slept with sleep_for(), which goes on after a signal of the application has interrupted it; usleep() does not.
constexpr std::chrono::milliseconds kMemorySleep{1000};
constexpr std::chrono::milliseconds kRestartSleep{800};

/// Returns false if `timeout` passed first. Any wake-up counts, even a spurious one or one for another event.
bool wokenWithin(std::chrono::milliseconds timeout, std::condition_variable& condition,
                 std::unique_lock<std::mutex>& lock) {
    return condition.wait_until(lock, std::chrono::steady_clock::now() + timeout) == std::cv_status::no_timeout;
}

/// Parses an event text. Returns false if it is not a JSON object, which includes texts that the reader refuses by
/// exception (nested too deeply).
bool parseEventText(const std::string& text, Json::Value& root) {
// Json::CharReader, the successor, is stricter by default; devices in the field rely on what this class accepts.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    Json::Reader reader;
#pragma GCC diagnostic pop
    try {
        return reader.parse(text, root) && (root.isObject() || root.isNull());
    } catch (const Json::Exception&) {
        return false;
    }
}

struct FreeDeleter {
    void operator()(char* memory) const { std::free(memory); }
};

} // namespace

// ---- Lifetime and bus connection ----

ZUVMediaProxyManager* ZUVMediaProxyManager::getInstance() {
    static ZUVMediaProxyManager* instance = nullptr;
    if (instance == nullptr)
        instance = new ZUVMediaProxyManager();
    return instance;
}

ZUVMediaProxyManager::ZUVMediaProxyManager()
    : m_callback(nullptr), m_adCallback(nullptr), m_syncMode(false), m_eventBuffer(), m_eventMemory(nullptr) {
    ZUV_LOG(kProgress, "enter, %p\n", static_cast<void*>(this));
    createModelAccess();
    m_modelAccess->start();
}

ZUVMediaProxyManager::ZUVMediaProxyManager(std::shared_ptr<IZuvModelAccess> modelAccess)
    : m_callback(nullptr), m_adCallback(nullptr), m_modelAccess(std::move(modelAccess)), m_syncMode(false),
      m_eventBuffer(), m_eventMemory(nullptr) {
    m_modelAccess->initialize();
    m_modelAccess->start();
}

ZUVMediaProxyManager::~ZUVMediaProxyManager() {
    ZUV_LOG(kProgress, "enter\n");
    storeUnguarded(m_syncMode, false);
    shm_unlink(kEventMemoryName);
}

void ZUVMediaProxyManager::createModelAccess() {
    if (m_modelAccess)
        return;
    m_modelAccess.reset(new ZUVModelAccess(this));
    m_modelAccess->initialize();
}

bool ZUVMediaProxyManager::hasModelAccess(const char* function) {
    createModelAccess();
    if (m_modelAccess)
        return true;
    ZUV_LOG_AS(function, kFailure, "No Access\n");
    return false;
}

void ZUVMediaProxyManager::requestStartZUVService() {
    if (m_modelAccess)
        m_modelAccess->startService();
    else
        ZUV_LOG(kFailure, "Cannot get access.\n");
}

bool ZUVMediaProxyManager::inSyncMode() {
    return loadUnguarded(m_syncMode);
}

// ---- The application's callbacks ----

void ZUVMediaProxyManager::setZUVCallback(ZUVCallback callback) {
    storeUnguarded(m_callback, callback);
}

void ZUVMediaProxyManager::setZUVAdCallback(ZUVCallback callback) {
    storeUnguarded(m_adCallback, callback);
}

void ZUVMediaProxyManager::notifyDefinitionsChanged(const std::string& id, std::string definitions) {
    notify(__func__, loadUnguarded(m_callback), id, "definitions", std::move(definitions));
}

void ZUVMediaProxyManager::notifyURLChanged(const std::string& id, std::string url) {
    notify(__func__, loadUnguarded(m_callback), id, "url", std::move(url));
}

void ZUVMediaProxyManager::notifyAdURLChanged(const std::string& id, std::string url) {
    notify(__func__, loadUnguarded(m_adCallback), id, "url", std::move(url));
}

void ZUVMediaProxyManager::notify(const char* function, ZUVCallback callback, const std::string& id,
                                  const char* changed, std::string value) {
    if (callback == nullptr) {
        ZUV_LOG_AS(function, kProgress, "notify error\n");
        return;
    }
    callback(id, changed, std::move(value));
}

// ---- Registry of proxies and identifiers ----

void ZUVMediaProxyManager::cacheProxyObject(std::shared_ptr<ZUVMediaProxyObject> object) {
    m_proxyObjects.emplace(object->id(), object);
}

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyManager::findProxyObjectFromCache(std::string id) {
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = m_proxyObjects.find(id);
    return entry == m_proxyObjects.end() ? nullptr : entry->second;
}

// Searches the whole registry. The object's destructor runs under m_mutex if this was its last reference.
void ZUVMediaProxyManager::removeProxyObjectFromCache(std::string id) {
    std::lock_guard<std::mutex> lock(m_mutex);
    for (auto entry = m_proxyObjects.begin(); entry != m_proxyObjects.end();) {
        if (entry->first != id) {
            ++entry;
            continue;
        }
        ZUV_LOG(kProgress, "find in cache and remove proxy, id:%s\n", id.c_str());
        entry = m_proxyObjects.erase(entry);
    }
}

std::shared_ptr<ZUVMediaProxyInterface> ZUVMediaProxyManager::findObjectById(std::string id) {
    return findProxyObjectFromCache(std::move(id));
}

std::string ZUVMediaProxyManager::getRemoteObjectId(std::string id) {
    const auto entry = m_remoteObjectIds.find(id);
    return entry == m_remoteObjectIds.end() ? std::string() : entry->second;
}

// The first three fields are little-endian and there is no fourth hyphen: the service expects identifiers in this form.
std::string ZUVMediaProxyManager::generateUUID() {
    constexpr std::size_t textSize = 256;
    uuid_t b;
    uuid_generate(b);
    const std::unique_ptr<char, FreeDeleter> text(static_cast<char*>(std::malloc(textSize)));
    if (!text) {
        ZUV_LOG(kFailure, "Fail to allocate buffer.\n");
        return "";
    }
    std::snprintf(text.get(), textSize, "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X%02X%02X", b[3],
                  b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]);
    return text.get();
}

std::string ZUVMediaProxyManager::getNextSessionId() {
    return "ses-" + generateUUID();
}

// ---- Events ----

void ZUVMediaProxyManager::onZUVEvent(std::vector<std::string>& params) {
    const std::string name = parameterAt(params, EventField::Name);
    const std::string code = parameterAt(params, EventField::Code);
    const std::string sessionId = parameterAt(params, EventField::SessionId);
    const std::string objectId = parameterAt(params, EventField::ObjectId);

    if (name == "created") {
        if (code != kSuccessCode) {
            ZUV_LOG(kFailure, "Create Failed: %s\n", sessionId.c_str());
            return;
        }
        ZUV_LOG(kMilestone, "New Created Object: %s - %s\n", sessionId.c_str(), objectId.c_str());
        std::lock_guard<std::mutex> lock(m_mutex);
        m_createdObjectIds.push_back(objectId);
        m_condition.notify_all();
    } else if (name == "status") {
        ZUV_LOG(kProgress, "zuv service alive: %s - %s\n", sessionId.c_str(), objectId.c_str());
        std::lock_guard<std::mutex> lock(m_mutex);
        m_condition.notify_all();
    } else if (const auto object = findProxyObjectFromCache(objectId)) {
        object->onZUVEvent(params);
    } else {
        ZUV_LOG(kFailure, "unable to find object for event: %s, %s,%s\n", name.c_str(), code.c_str(), objectId.c_str());
    }
}

void ZUVMediaProxyManager::initializeZUVEvent() {
    ZUV_LOG(kProgress, "initializeZUVEvent.\n");
    if (!hasModelAccess(__func__))
        return;
    std::vector<std::string> neutral(kNeutralEventSize);
    neutral[EventField::Name] = "unknown";
    m_modelAccess->publish(kEventTopic, neutral);
}

// The descriptor stays open if the shared memory cannot be resized or mapped, and MAP_FAILED counts as mapped: devices
// in the field have always behaved like this.
int ZUVMediaProxyManager::checkZUVEventMemory() {
    const int fd = shm_open(kEventMemoryName, O_RDWR, 0666);
    if (fd < 0 || ftruncate(fd, kEventMemorySize) != 0) {
        ZUV_LOG(kProgress, "Failed to allocate shared memory\n\n");
        return -1;
    }
    void* const memory = mmap(nullptr, kEventMemorySize, PROT_READ, MAP_SHARED, fd, 0);
    storeUnguarded(m_eventMemory, static_cast<char*>(memory));
    if (memory == nullptr) {
        ZUV_LOG(kProgress, "Failed to mmap buffer shared memory\n\n");
        return -1;
    }
    close(fd);
    return 0;
}

// The service may write at any time, so the text is copied before it is parsed.
std::string ZUVMediaProxyManager::copyEventText(const char* memory) {
    std::memcpy(m_eventBuffer, memory, kEventMemorySize);
    return {m_eventBuffer, strnlen(m_eventBuffer, kEventMemorySize)};
}

std::vector<std::string> ZUVMediaProxyManager::readZUVEventMemory() {
    std::vector<std::string> params;
    const char* const memory = loadUnguarded(m_eventMemory);
    if (memory == nullptr) {
        ZUV_LOG(kProgress, "memory NULL.\n");
        return params;
    }
    const std::string text = copyEventText(memory);
    ZUV_LOG(kProgress, "buf: %s\n", text.c_str());

    Json::Value root;
    if (!parseEventText(text, root)) {
        ZUV_LOG(kFailure, "Fail to parse json string:%s.\n", text.c_str());
        return params;
    }
    ZUV_LOG(kProgress, "updateParameters\n");
    for (int i = 0; i < kEventParameterCount; ++i)
        params.push_back(root[std::to_string(i)].asString());
    for (int i = 0; i < kEventParameterCount; ++i)
        ZUV_LOG(kDump, "parameter %d:   %s \n", i, params[static_cast<std::size_t>(i)].c_str());
    return params;
}

std::vector<std::string> ZUVMediaProxyManager::readZUVEvent() {
    std::vector<std::string> params = readZUVEventMemory();
    if (!params.empty()) {
        ZUV_LOG(kProgress, "read memory success.\n");
        return params;
    }
    m_modelAccess->read(kEventTopic, params);
    for (std::size_t i = 0; i < params.size(); ++i)
        ZUV_LOG(kDump, "parameter %d: %s \n", static_cast<int>(i), params[i].c_str());
    return params;
}

// ---- Requests: publishing and waiting ----

void ZUVMediaProxyManager::publishCommand(const std::vector<std::string>& command) {
    m_modelAccess->publish(kCommandTopic, command);
}

int ZUVMediaProxyManager::publishCommandAndWait(const std::vector<std::string>& command, const char* answer) {
    publishCommand(command);
    return waitRequestRemoteObjectCompleted(command[CommandField::SessionId], answer);
}

// The event is compared before the first sleep and after every sleep but the fifth: the event read then is only logged.
// The limit counts the sleeps and does not measure time, so slow reads make the real wait longer.
int ZUVMediaProxyManager::waitRequestRemoteObjectCompleted(std::string id, std::string name) {
    ZUV_LOG(kProgress, "enter  id:%s, name:%s\n", id.c_str(), name.c_str());
    std::vector<std::string> event = readZUVEventMemory();
    std::string eventId = parameterAt(event, EventField::SessionId);
    std::string eventName = parameterAt(event, EventField::Name);
    int elapsed = 0;
    while (eventId != id || eventName != name) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kPollMilliseconds));
        elapsed += kPollMilliseconds;
        event = readZUVEventMemory();
        eventId = parameterAt(event, EventField::SessionId);
        eventName = parameterAt(event, EventField::Name);
        ZUV_LOG(kProgress, " id:%s, name:%s\n", eventId.c_str(), eventName.c_str());
        if (elapsed == kAnswerLimitMilliseconds) {
            ZUV_LOG(kFailure, "Task timeout: %d/%d\n", kAnswerLimitMilliseconds, kAnswerLimitMilliseconds);
            return -1;
        }
    }
    ZUV_LOG(kProgress, " used time: %d/%d\n", elapsed, kAnswerLimitMilliseconds);
    onZUVEvent(event);
    return 0;
}

// ---- Requests: playback ----

void ZUVMediaProxyManager::requestRemoteObjectStart(const std::string& objectId, std::string url, int option,
                                                    std::string kind) {
    if (inSyncMode())
        requestRemoteObjectStartSync(objectId, std::move(url), option, std::move(kind));
    else if (hasModelAccess(__func__))
        publishCommand(startCommand(getNextSessionId(), objectId, std::move(url), option, std::move(kind)));
}

int ZUVMediaProxyManager::requestRemoteObjectStartSync(const std::string& objectId, std::string url, int option,
                                                       std::string kind) {
    if (!hasModelAccess(__func__))
        return -1;
    ZUV_LOG(kProgress, "request RemoteObject Start sync.\n");
    return publishCommandAndWait(startCommand(getNextSessionId(), objectId, std::move(url), option, std::move(kind)),
                                 "started");
}

void ZUVMediaProxyManager::requestRemoteObjectStop(const std::string& objectId, std::string kind) {
    if (inSyncMode())
        requestRemoteObjectStopSync(objectId, std::move(kind));
    else if (hasModelAccess(__func__))
        publishCommand(stopCommand(getNextSessionId(), objectId, std::move(kind)));
}

int ZUVMediaProxyManager::requestRemoteObjectStopSync(const std::string& objectId, std::string kind) {
    if (!hasModelAccess(__func__))
        return -1;
    ZUV_LOG(kProgress, "request RemoteObject Stop sync.\n");
    return publishCommandAndWait(stopCommand(getNextSessionId(), objectId, std::move(kind)), "stopped");
}

void ZUVMediaProxyManager::requestRemoteObjectSeek(const std::string& objectId, double position, std::string text) {
    if (inSyncMode())
        requestRemoteObjectSeekSync(objectId, position, std::move(text));
    else if (hasModelAccess(__func__))
        publishCommand(seekCommand(getNextSessionId(), objectId, position, std::move(text)));
}

int ZUVMediaProxyManager::requestRemoteObjectSeekSync(const std::string& objectId, double position, std::string text) {
    if (!hasModelAccess(__func__))
        return -1;
    ZUV_LOG(kProgress, "request RemoteObject seek sync.\n");
    return publishCommandAndWait(seekCommand(getNextSessionId(), objectId, position, std::move(text)), "seeked");
}

void ZUVMediaProxyManager::requestRemoteObjectPreload(const std::string& objectId, double position, std::string text1,
                                                      std::string text2, std::string text3, std::string kind) {
    if (inSyncMode())
        requestRemoteObjectPreloadSync(objectId, position, std::move(text1), std::move(text2), std::move(text3),
                                       std::move(kind));
    else if (hasModelAccess(__func__))
        publishCommand(preloadCommand(getNextSessionId(), objectId, position, std::move(text1), std::move(text2),
                                      std::move(text3), std::move(kind)));
}

// The service answers a preload with "started", like a start.
int ZUVMediaProxyManager::requestRemoteObjectPreloadSync(const std::string& objectId, double position,
                                                         std::string text1, std::string text2, std::string text3,
                                                         std::string kind) {
    if (!hasModelAccess(__func__))
        return -1;
    ZUV_LOG(kProgress, "request RemoteObject preload sync.\n");
    return publishCommandAndWait(preloadCommand(getNextSessionId(), objectId, position, std::move(text1),
                                                std::move(text2), std::move(text3), std::move(kind)),
                                 "started");
}

void ZUVMediaProxyManager::requestRemoteObjectPause(const std::string&) {
    std::printf(" NotImplemented %s,%s,%d\n", blog_base_name(__FILE__), __func__, __LINE__);
    ZUV_LOG(kFailure, "NotImplemented.\n");
}

bool ZUVMediaProxyManager::requestRemoteObjectPauseSync(const std::string&) {
    return false;
}

// ---- Requests: inspection and liveness ----

void ZUVMediaProxyManager::requestRemoteObjectInspect() {
    if (inSyncMode())
        requestRemoteObjectInspectSync();
    else
        publishInspection();
}

void ZUVMediaProxyManager::publishInspection() {
    if (hasModelAccess("requestRemoteObjectInspect"))
        publishCommand(newCommand("inspect", getNextSessionId()));
}

int ZUVMediaProxyManager::requestRemoteObjectInspectSync() {
    if (!hasModelAccess(__func__))
        return -1;
    initializeZUVEvent();
    ZUV_LOG(kProgress, "request RemoteObject inspect sync.\n");
    return publishCommandAndWait(newCommand("inspect", getNextSessionId()), "status");
}

bool ZUVMediaProxyManager::checkZUVServiceAlive() {
    ZUV_LOG(kProgress, "Enter \n");
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool alive = requestInspection(lock) || wokenWithin(kAliveWait, m_condition, lock);
    if (alive)
        ZUV_LOG(kProgress, "wait done.\n");
    else
        ZUV_LOG(kProgress, "wait  timeout.\n");
    return alive;
}

bool ZUVMediaProxyManager::requestInspection(std::unique_lock<std::mutex>& lock) {
    if (!inSyncMode()) {
        publishInspection();
        return false;
    }
    lock.unlock();
    const bool answered = requestRemoteObjectInspectSync() == 0;
    lock.lock();
    return answered;
}

// ---- Creation ----

void ZUVMediaProxyManager::requestCreateRemoteObject(std::string id) {
    if (inSyncMode())
        requestCreateRemoteObjectSync(std::move(id));
    else
        publishCreation(std::move(id));
}

void ZUVMediaProxyManager::publishCreation(std::string id) {
    constexpr const char* operation = "requestCreateRemoteObject";
    if (!hasModelAccess(operation))
        return;
    ZUV_LOG_AS(operation, kProgress, "Create   RemoteObject.\n");
    publishCommand(newCommand("create", std::move(id)));
}

int ZUVMediaProxyManager::requestCreateRemoteObjectSync(std::string id) {
    if (!hasModelAccess(__func__))
        return -1;
    initializeZUVEvent();
    ZUV_LOG(kProgress, "Create  RemoteObject sync.\n");
    return publishCommandAndWait(newCommand("create", std::move(id)), "created");
}

// Each attempt, about every 200 ms, sends a command with a new identifier. Whichever of them is answered, the newest
// announced object is taken. Answers that arrive too late stay in the list for the next creation.
std::string ZUVMediaProxyManager::createNewProxyId() {
    ZUV_LOG(kProgress, "Enter\n");
    // Never sent: every attempt generates its own. It keeps the number of generated identifiers as it always was.
    std::string sessionId = getNextSessionId();
    std::string objectId;
    bool restarted = false;
    double startTime = monotonicSeconds();
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        ZUV_LOG(kProgress, "enter\n");
        sessionId = getNextSessionId();
        bool announced = requestCreation(lock, sessionId);
        if (!announced) {
            const double now = monotonicSeconds();
            if (now - startTime > kRestartAfterSeconds && !restarted) {
                ZUV_LOG(kFailure, "Wait response timeout for id:%s, restart zuv service.\n", sessionId.c_str());
                m_createdObjectIds.clear();
                requestStartZUVService();
                startTime = monotonicSeconds();
                wokenWithin(kRestartWait, m_condition, lock);
                restarted = true;
            }
            if (now - startTime > kGiveUpAfterSeconds && restarted) {
                ZUV_LOG(kFailure, "Wait response total timeout for id:%s, just return.\n", sessionId.c_str());
                m_createdObjectIds.clear();
                break;
            }
            announced = wokenWithin(kAttemptWait, m_condition, lock) && !m_createdObjectIds.empty();
        }
        if (announced) {
            ZUV_LOG(kProgress, "wait done.\n");
            objectId = m_createdObjectIds.back();
            break;
        }
    }
    ZUV_LOG(kProgress, "id :%s\n", objectId.c_str());
    return objectId;
}

bool ZUVMediaProxyManager::requestCreation(std::unique_lock<std::mutex>& lock, const std::string& sessionId) {
    if (!inSyncMode()) {
        publishCreation(sessionId);
        return false;
    }
    const std::size_t known = m_createdObjectIds.size();
    lock.unlock();
    requestCreateRemoteObjectSync(sessionId);
    lock.lock();
    return m_createdObjectIds.size() > known;
}

void ZUVMediaProxyManager::forgetAnnouncedIds() {
    m_createdObjectIds.clear();
}

std::string ZUVMediaProxyManager::newestAnnouncedId() const {
    return m_createdObjectIds.empty() ? std::string() : m_createdObjectIds.back();
}

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyManager::newAnnouncedProxy(const std::string& id) {
    auto proxy = ZUVMediaProxyObject::create(id);
    cacheProxyObject(proxy);
    return proxy;
}

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyManager::createNewZUVMediaProxy() {
    return newAnnouncedProxy(createNewProxyId());
}

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyManager::createNewZUVMediaProxy(std::string id) {
    removeProxyObjectFromCache(id);
    auto proxy = ZUVMediaProxyObject::create(id);
    std::lock_guard<std::mutex> lock(m_mutex);
    // Not cacheProxyObject(), which locks the object's mutex: the lock order forbids that under m_mutex.
    m_proxyObjects.emplace(std::move(id), proxy);
    return proxy;
}

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyManager::createNewZUVMediaProxySync() {
    ZUV_LOG(kProgress, "Enter.\n");
    storeUnguarded(m_syncMode, true);
    if (checkZUVEventMemory() == -1) {
        ZUV_LOG(kFailure, "service not work,  restart zuv service.\n");
        forgetAnnouncedIds();
        requestStartZUVService();
        std::this_thread::sleep_for(kMemorySleep);
    }
    if (checkZUVEventMemory() == -1) {
        std::this_thread::sleep_for(kMemorySleep);
        checkZUVEventMemory();
    }
    std::string sessionId = getNextSessionId();
    if (requestCreateRemoteObjectSync(sessionId) == -1) {
        forgetAnnouncedIds();
        ZUV_LOG(kFailure, "Wait response timeout for id:%s, restart zuv service.\n", sessionId.c_str());
        requestStartZUVService();
        std::this_thread::sleep_for(kRestartSleep);
    }
    // Sent again on purpose, whatever the first request returned: services in the field expect the repetition.
    if (requestCreateRemoteObjectSync(sessionId) == -1) {
        sessionId = getNextSessionId();
        requestCreateRemoteObjectSync(sessionId);
    }
    const std::string objectId = newestAnnouncedId();
    ZUV_LOG(kProgress, "id :%s\n", objectId.c_str());
    return newAnnouncedProxy(objectId);
}

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyManager::createNewZUVMediaProxySync(std::string id) {
    ZUV_LOG(kProgress, "Enter, id:%s\n", id.c_str());
    storeUnguarded(m_syncMode, true);
    checkZUVEventMemory();
    return createNewZUVMediaProxy(std::move(id));
}

} // namespace velmora
