#include "zuv_media_proxy_object.h"

#include "event_parameters.h"
#include "unguarded_member.h"
#include "zuv_log.h"
#include "zuv_media_proxy_manager.h"

#include <utility>

// Locks: m_mutex is held while fields are read or written, and by the handlers. Requests to the manager are made
// without it, because in synchronous mode the handlers run on the same thread before the request returns. The manager's
// mutex may be taken while m_mutex is held (by a callback that looks up a proxy), never the other way round.

namespace velmora {
namespace {

namespace MediaKind {
constexpr const char* MainVideo = "main_video";
constexpr const char* Advertisement = "advertisement";
} // namespace MediaKind

/// Logs the entry to and the exit from an operation, including an exit by exception.
class ScopeTrace {
public:
    ScopeTrace(const char* function, const char* path, int line)
        : m_function(function), m_file(blog_base_name(path)), m_line(line) {
        if (cspDebugCheckLevelGetFrameAndChunk(&kDump))
            cspDebugOutput0("[TRACE -> %s(IN)] %s:%d:%s() \n", m_function, m_file, m_line, m_function);
    }

    ~ScopeTrace() {
        if (cspDebugCheckLevelGetFrameAndChunk(&kDump))
            cspDebugOutput0("[TRACE <- %s(OUT)] %s:%d:%s() \n", m_function, m_file, m_line, m_function);
    }

    ScopeTrace(const ScopeTrace&) = delete;
    ScopeTrace& operator=(const ScopeTrace&) = delete;

private:
    const char* m_function;
    const char* m_file;
    int m_line;
};

} // namespace

// ---- Construction ----

std::shared_ptr<ZUVMediaProxyObject> ZUVMediaProxyObject::create(std::string id) {
    return std::shared_ptr<ZUVMediaProxyObject>(new ZUVMediaProxyObject(std::move(id)));
}

ZUVMediaProxyObject::ZUVMediaProxyObject(std::string id) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kProgress, "new ProxyObject id:%s\n", id.c_str());
    m_id = std::move(id);
    m_state = ZUVMediaProxyState::Idle;
    m_adState = ZUVMediaProxyState::Idle;
    m_manager = ZUVMediaProxyManager::getInstance();
    m_seekPosition = 0.0;
}

// ---- Properties ----

std::string ZUVMediaProxyObject::id() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_id;
}

std::string ZUVMediaProxyObject::localURL() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_localURL;
}

std::string ZUVMediaProxyObject::localAdURL() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_localAdURL;
}

int ZUVMediaProxyObject::getState() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
}

int ZUVMediaProxyObject::getAdState() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_adState;
}

std::string ZUVMediaProxyObject::definitions() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_definitions;
}

// ---- Operations of the application ----

void ZUVMediaProxyObject::start(std::string url, int option) {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    const std::string id = markStarting(m_state);
    if (option != 0) {
        m_manager->requestRemoteObjectStart(id, std::move(url), option, MediaKind::MainVideo);
        return;
    }
    const std::string preloaded = localURL();
    if (preloaded.empty()) {
        readPreloadAnswer(__func__);
        return;
    }
    ZUV_LOG(kProgress, "notification from preload has been received\n");
    m_manager->notifyURLChanged(id, preloaded);
    m_manager->notifyDefinitionsChanged(id, definitions());
}

void ZUVMediaProxyObject::startAd(std::string url, int option) {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    const std::string id = markStarting(m_adState);
    if (option != 0) {
        m_manager->requestRemoteObjectStart(id, std::move(url), option, MediaKind::Advertisement);
        return;
    }
    const std::string preloaded = localAdURL();
    if (preloaded.empty()) {
        readPreloadAnswer(__func__);
        return;
    }
    ZUV_LOG(kProgress, "notification from preload has been received\n");
    m_manager->notifyAdURLChanged(id, preloaded); // an advertisement has no definitions
}

void ZUVMediaProxyObject::stop() {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    m_manager->requestRemoteObjectStop(markIdle(m_state, m_localURL), MediaKind::MainVideo);
}

void ZUVMediaProxyObject::stopAd() {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    m_manager->requestRemoteObjectStop(markIdle(m_adState, m_localAdURL), MediaKind::Advertisement);
}

void ZUVMediaProxyObject::pause() {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    m_manager->requestRemoteObjectPause(id());
}

void ZUVMediaProxyObject::seek(double position, std::string text) {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    storeUnguarded(m_seekPosition, position);
    const std::string objectId = id();
    if (getState() == ZUVMediaProxyState::Idle)
        return;
    m_manager->requestRemoteObjectSeek(objectId, position, std::move(text));
}

void ZUVMediaProxyObject::preload(double position, std::string text1, std::string text2, std::string text3) {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    m_manager->initializeZUVEvent();
    m_manager->requestRemoteObjectPreload(forgetURL(m_localURL), position, std::move(text1), std::move(text2),
                                          std::move(text3), MediaKind::MainVideo);
}

void ZUVMediaProxyObject::preloadAd(std::string text1, std::string text3) {
    ScopeTrace trace(__func__, __FILE__, __LINE__);
    m_manager->initializeZUVEvent();
    m_manager->requestRemoteObjectPreload(forgetURL(m_localAdURL), 0.0, std::move(text1), "", std::move(text3),
                                          MediaKind::Advertisement);
}

std::string ZUVMediaProxyObject::markStarting(int32_t& state) {
    std::lock_guard<std::mutex> lock(m_mutex);
    state = ZUVMediaProxyState::Starting;
    return m_id;
}

std::string ZUVMediaProxyObject::markIdle(int32_t& state, std::string& url) {
    std::lock_guard<std::mutex> lock(m_mutex);
    state = ZUVMediaProxyState::Idle;
    std::string id = m_id;
    url.clear(); // last, so that the URL survives a failure to copy the identifier
    return id;
}

std::string ZUVMediaProxyObject::forgetURL(std::string& url) {
    std::lock_guard<std::mutex> lock(m_mutex);
    std::string id = m_id;
    url.clear(); // last, so that the URL survives a failure to copy the identifier
    return id;
}

void ZUVMediaProxyObject::readPreloadAnswer(const char* function) {
    ZUV_LOG_AS(function, kProgress, "notification from preload is not received, and will read it first\n");
    std::vector<std::string> event = m_manager->readZUVEvent();
    onZUVEvent(event);
}

// ---- Events of the service ----

void ZUVMediaProxyObject::onZUVEvent(std::vector<std::string>& params) {
    if (parameterAt(params, EventField::ObjectId) != m_id)
        return;
    const std::string name = parameterAt(params, EventField::Name);
    const bool advertisement = parameterAt(params, EventField::MediaKind) == MediaKind::Advertisement;
    const std::string code = parameterAt(params, EventField::Code);
    const bool success = code == kSuccessCode;
    const std::string detail = parameterAt(params, EventField::Detail);

    if (name == "started") {
        const std::string url = parameterAt(params, EventField::LocalURL);
        ZUV_LOG(kMilestone, "ZUV Media Proxy stated : %s ( %s) ,  %s\n", code.c_str(), detail.c_str(), url.c_str());
        if (advertisement)
            success ? onAdMediaStarted(url) : onAdMediaStartedFailed(code, detail);
        else
            success ? onMediaStarted(url) : onMediaStartedFailed(code, detail);
    } else if (name == "stopped") {
        if (advertisement)
            success ? onAdMediaStopped() : onAdMediaStoppedFailed(code, detail);
        else
            success ? onMediaStopped() : onMediaStoppedFailed(code, detail);
    } else if (name == "seeked") {
        success ? onMediaSeeked() : onMediaSeekedFailed(code, detail);
    } else if (name == "definition") {
        onDefinitionsChanged(parameterAt(params, EventField::Definitions));
    }
}

void ZUVMediaProxyObject::onDefinitionsChanged(std::string definitions) {
    std::string id;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        id = m_id;
        m_definitions = definitions;
    }
    const int state = getState();
    if (state == ZUVMediaProxyState::Starting || state == ZUVMediaProxyState::Started) {
        ZUV_LOG(kProgress, "notify\n");
        m_manager->notifyDefinitionsChanged(id, definitions);
    } else {
        ZUV_LOG(kFailure, "Invalid state:%d.\n", state);
    }
    ZUV_LOG(kProgress, "definitions : %s\n", definitions.c_str());
}

void ZUVMediaProxyObject::onMediaStarted(std::string url) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_localURL = url;
    ZUV_LOG(kProgress, "the current state : %d\n", m_state);
    if (m_state == ZUVMediaProxyState::Starting) {
        ZUV_LOG(kProgress, "notify\n");
        m_manager->notifyURLChanged(m_id, url);
    }
    m_state = ZUVMediaProxyState::Started;
}

void ZUVMediaProxyObject::onAdMediaStarted(std::string url) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_localAdURL = url;
    ZUV_LOG(kProgress, "the current state : %d\n", m_adState);
    if (m_adState == ZUVMediaProxyState::Starting) {
        ZUV_LOG(kProgress, "notify\n");
        m_manager->notifyAdURLChanged(m_id, url);
    }
    m_state = ZUVMediaProxyState::Started; // the main state: devices in the field rely on it
}

// The state was reset when the stop was sent. The answer only takes the mutex, as every handler does, which keeps it in
// order with the others.
void ZUVMediaProxyObject::onMediaStopped() {
    std::lock_guard<std::mutex> lock(m_mutex);
}

void ZUVMediaProxyObject::onAdMediaStopped() {
    std::lock_guard<std::mutex> lock(m_mutex);
}

void ZUVMediaProxyObject::onMediaStartedFailed(std::string, std::string) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kFailure, "Start failed when current state is :%d \n", m_state);
}

void ZUVMediaProxyObject::onAdMediaStartedFailed(std::string, std::string) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kFailure, "Start failed when current state is :%d \n", m_adState);
}

void ZUVMediaProxyObject::onMediaStoppedFailed(std::string code, std::string detail) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kFailure, "Stopped Failed:  %s, %s ,%s\n", m_id.c_str(), code.c_str(), detail.c_str());
}

void ZUVMediaProxyObject::onAdMediaStoppedFailed(std::string code, std::string detail) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kFailure, "Stopped Failed:  %s, %s ,%s\n", m_id.c_str(), code.c_str(), detail.c_str());
}

void ZUVMediaProxyObject::onMediaSeeked() {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kMilestone, "Seek Done. %s\n", m_id.c_str());
}

void ZUVMediaProxyObject::onMediaSeekedFailed(std::string, std::string) {
    std::lock_guard<std::mutex> lock(m_mutex);
    ZUV_LOG(kFailure, "Seek failed : %s\n", m_id.c_str());
}

} // namespace velmora
