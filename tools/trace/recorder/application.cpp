// What the application calls, and its callbacks: the manager interface that it gets forwards to the client's.
#include "trace/recorder/recorder.h"
#include "trace/recorder/replaced_function.h"
#include "zuv_media_proxy.h"

#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace velmora::trace {
namespace {

using Manager = ZUVMediaProxyManagerInterface;
using Proxy = std::shared_ptr<ZUVMediaProxyInterface>;

#define ZUV_GET_INSTANCE "_ZN7velmora29ZUVMediaProxyManagerInterface11getInstanceEv"
#define ZUV_CHECK_ALIVE "_ZN7velmora29ZUVMediaProxyManagerInterface20checkZUVServiceAliveEv"
#define ZUV_REQUEST "requestZUVMediaProxy"

constinit Replaced<Manager*()> getInstance(ZUV_GET_INSTANCE);
constinit Replaced<bool()> checkAlive(ZUV_CHECK_ALIVE);
constinit Replaced<Manager*()> request(ZUV_REQUEST);

/// A callback of the application, on whatever way it is left.
class CallbackRun {
public:
    CallbackRun(const char* medium, const std::string& id, const std::string& key, const std::string& value) {
        JsonLine line("callback");
        line.text("medium", medium).text("id", id).text("key", key).text("value", value);
        m_begin = line.time();
        recording().write(line);
    }
    ~CallbackRun() {
        JsonLine line("returned");
        line.number("d", since(m_begin));
        recording().write(line);
    }
    CallbackRun(const CallbackRun&) = delete;
    CallbackRun& operator=(const CallbackRun&) = delete;

private:
    uint64_t m_begin;
};

/// The application's callback for a medium, and the function that the client calls in its place.
struct MainVideo {
    static constexpr const char* kName = "main_video";
    static inline constinit std::atomic<ZUVCallback> callback{nullptr};
};
struct Advertisement {
    static constexpr const char* kName = "advertisement";
    static inline constinit std::atomic<ZUVCallback> callback{nullptr};
};

template <typename Medium>
void callApplication(std::string id, std::string changed, std::string value) {
    const ZUVCallback callback = Medium::callback.load();
    if (callback == nullptr)
        return; // taken back meanwhile
    const CallbackRun run(Medium::kName, id, changed, value);
    callback(std::move(id), std::move(changed), std::move(value));
}

template <typename Medium>
ZUVCallback inPlaceOf(ZUVCallback callback) {
    Medium::callback.store(callback);
    return callback == nullptr ? nullptr : callApplication<Medium>;
}

class RecordingManager final : public Manager {
public:
    explicit RecordingManager(Manager& client) : m_client(client) {}

    Proxy createNewZUVMediaProxy() override {
        return created("createNewZUVMediaProxy", [this] { return m_client.createNewZUVMediaProxy(); });
    }
    Proxy createNewZUVMediaProxy(std::string id) override {
        return createdFor("createNewZUVMediaProxy", id, [&] { return m_client.createNewZUVMediaProxy(id); });
    }
    Proxy createNewZUVMediaProxySync() override {
        return created("createNewZUVMediaProxySync", [this] { return m_client.createNewZUVMediaProxySync(); });
    }
    Proxy createNewZUVMediaProxySync(std::string id) override {
        return createdFor("createNewZUVMediaProxySync", id, [&] { return m_client.createNewZUVMediaProxySync(id); });
    }
    void setZUVCallback(ZUVCallback callback) override {
        CallLine line("call");
        addSetter(line, "setZUVCallback", callback);
        m_client.setZUVCallback(inPlaceOf<MainVideo>(callback));
    }
    void setZUVAdCallback(ZUVCallback callback) override {
        CallLine line("call");
        addSetter(line, "setZUVAdCallback", callback);
        m_client.setZUVAdCallback(inPlaceOf<Advertisement>(callback));
    }

private:
    static void addSetter(CallLine& line, const char* name, ZUVCallback callback) {
        line->text("name", name).beginTexts("args").addText(callback == nullptr ? "null" : "function").endTexts();
    }

    template <typename Create>
    static Proxy created(const char* name, Create create) {
        CallLine line("call");
        line->text("name", name).beginTexts("args").endTexts();
        return withResult(line, create());
    }

    template <typename Create>
    static Proxy createdFor(const char* name, const std::string& id, Create create) {
        CallLine line("call");
        line->text("name", name).beginTexts("args").addText(id).endTexts();
        return withResult(line, create());
    }

    static Proxy withResult(CallLine& line, Proxy proxy) {
        if (proxy)
            line->text("r", proxy->id());
        return proxy;
    }

    Manager& m_client;
};

/// What the application gets in place of the client's manager, of which there is one in a process.
Manager* recorded(Manager* client) {
    if (client == nullptr)
        return nullptr;
    static Manager* const first = client;
    static RecordingManager manager(*first);
    return client == first ? &manager : client;
}

} // namespace

Manager* getRecordedInstance() ZUV_REPLACES(ZUV_GET_INSTANCE);
Manager* getRecordedInstance() {
    return recorded(getInstance.original()());
}

extern "C" Manager* requestRecordedProxy() ZUV_REPLACES(ZUV_REQUEST);
extern "C" Manager* requestRecordedProxy() {
    return recorded(request.original()());
}

bool checkServiceAlive() ZUV_REPLACES(ZUV_CHECK_ALIVE);
bool checkServiceAlive() {
    CallLine line("call");
    line->text("name", "checkZUVServiceAlive").beginTexts("args").endTexts();
    const bool isAlive = checkAlive.original()();
    line->text("r", isAlive ? "true" : "false");
    return isAlive;
}

} // namespace velmora::trace
