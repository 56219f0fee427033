#include "client/operation_under_test.h"

#include "zuv_media_proxy.h"

#include <algorithm>

namespace velmora::test {

OwnClient::OwnClient(Mode mode)
    : proxy(ZUVMediaProxyObject::create(kProxyId)), stranger(ZUVMediaProxyObject::create(kOtherId)), m_mode(mode) {
    manager.setZUVCallback(mainCallback);
    manager.setZUVAdCallback(adCallback);
    manager.cacheProxyObject(proxy);
    eventRegion().create();
    if (mode == Mode::Synchronous) {
        manager.checkZUVEventMemory();
        manager.m_syncMode = true;
    }
}

OwnClient::~OwnClient() {
    const OwnWork work;
    virtualTime().begin();
    bus() = RecordingBus();
    journal().clear();
}

void OwnClient::beginCall() {
    virtualTime().begin();
    numberUuids();
    bus() = RecordingBus();
    bus().setClient(&manager);
    if (serviceAnswers) {
        answer("create", "created");
        answer("start", "started");
        answer("stop", "stopped");
        answer("seek", "seeked");
        answer("preload", "started");
        answer("inspect", "status");
    }
    eventRegion().write(regionText);
    journal().clear();
}

void OwnClient::answer(const std::string& command, const std::string& name) {
    bus().onEveryCommand(command, [this, name](const Strings& sent) {
        Strings answer = event(name, "200", sent[1]);
        answer[2] = sent[2];
        answer[3] = sent[3].empty() ? kCreatedId : sent[3];
        if (m_mode == Mode::Synchronous || manager.m_syncMode)
            eventRegion().writeEvent(answer);
        else
            virtualTime().after(milliseconds(50), [answer] { bus().deliver(answer); });
    });
}

Strings OwnClient::event(const std::string& name, const std::string& code, const std::string& kind) const {
    return {name, code, kSession, kProxyId, "", "", kUrl, kText, kText, kind, ""};
}

void OwnClient::tellProxy(const std::string& name, const std::string& code) {
    Strings params = event(name, code, "main_video");
    proxy->onZUVEvent(params);
}

void OwnClient::tellProxyOfAdvertisement(const std::string& name, const std::string& code) {
    Strings params = event(name, code, "advertisement");
    proxy->onZUVEvent(params);
}

void OwnClient::deliver(const std::string& name, const std::string& code) {
    Strings params = event(name, code, "main_video");
    manager.onZUVEvent(params);
}

std::string OwnClient::state() const {
    std::string text = "synchronous: " + std::to_string(manager.m_syncMode) + "\n";
    for (const auto& [id, object] : manager.m_proxyObjects)
        text += listed({id, object->m_id, std::to_string(object->m_state), std::to_string(object->m_adState),
                        std::to_string(object->m_seekPosition), object->m_localURL, object->m_localAdURL,
                        object->m_definitions}) +
                "\n";
    return text;
}

bool OwnClient::holdsALock() {
    std::vector<std::mutex*> mutexes = {&manager.m_mutex, &proxy->m_mutex, &stranger->m_mutex};
    for (const auto& [id, object] : manager.m_proxyObjects)
        mutexes.push_back(&object->m_mutex);
    return isAnyHeld(mutexes);
}

std::string resultText(const std::string& result) {
    return result;
}

std::string resultText(const Strings& result) {
    return listed(result);
}

std::string resultText(int result) {
    return std::to_string(result);
}

std::string resultText(const std::shared_ptr<ZUVMediaProxyInterface>& result) {
    return result == nullptr ? "no proxy" : "proxy " + result->id();
}

namespace {

void silenceService(OwnClient& client) {
    client.serviceAnswers = false;
}

void letProxyStart(OwnClient& client) {
    client.proxy->m_state = State::Starting;
    client.proxy->m_adState = State::Starting;
}

void preloaded(OwnClient& client) {
    client.proxy->m_localURL = OwnClient::kUrl;
    client.proxy->m_localAdURL = OwnClient::kUrl;
    client.proxy->m_definitions = OwnClient::kText;
}

void leaveEventInRegion(OwnClient& client) {
    client.regionText = eventText(client.event("started", "200", "main_video"));
    client.manager.checkZUVEventMemory();
}

void leaveNestedMembersInRegion(OwnClient& client) {
    client.regionText = "/* a comment that is long enough */ {\"0\":\"text \\u00e9 \\n escaped and long "
                        "enough\",\"1\":200,\"2\":true,\"other\":[1,[2,{\"a\":\"b\"}]]}";
    client.manager.checkZUVEventMemory();
}

void leaveNoEventAnywhere(OwnClient& client) {
    client.regionText = "{ this is not what the reader takes for an event";
    client.manager.checkZUVEventMemory();
}

void loseConnection(OwnClient& client) {
    client.manager.m_modelAccess.reset();
}

using Client = OwnClient;
const std::string kKind = "a kind that no string keeps within";

std::vector<Operation> playbackRequests() {
    return {
        {"RequestStart", [](Client& c) { c.manager.requestRemoteObjectStart(c.kProxyId, c.kUrl, 7, kKind); }},
        {"RequestStop", [](Client& c) { c.manager.requestRemoteObjectStop(c.kProxyId, kKind); }},
        {"RequestSeek", [](Client& c) { c.manager.requestRemoteObjectSeek(c.kProxyId, 3.25, c.kText); }},
        {"RequestPreload",
         [](Client& c) { c.manager.requestRemoteObjectPreload(c.kProxyId, 3.25, c.kText, c.kText, c.kText, kKind); }},
        {"RequestStartSync",
         [](Client& c) { return c.manager.requestRemoteObjectStartSync(c.kProxyId, c.kUrl, 7, kKind); }},
        {"RequestStopSync", [](Client& c) { return c.manager.requestRemoteObjectStopSync(c.kProxyId, kKind); }},
        {"RequestSeekSync", [](Client& c) { return c.manager.requestRemoteObjectSeekSync(c.kProxyId, 3.25, c.kText); }},
        {"RequestPreloadSync",
         [](Client& c) {
             return c.manager.requestRemoteObjectPreloadSync(c.kProxyId, 3.25, c.kText, c.kText, c.kText, kKind);
         }},
    };
}

std::vector<Operation> proxyCommands() {
    return {
        {"Start", [](Client& c) { c.proxy->start(c.kUrl, 7); }},
        {"Stop", [](Client& c) { c.proxy->stop(); }},
        {"Seek", [](Client& c) { c.proxy->seek(3.25, c.kText); }, letProxyStart},
        {"Preload", [](Client& c) { c.proxy->preload(3.25, c.kText, c.kText, c.kText); }},
        {"StartAd", [](Client& c) { c.proxy->startAd(c.kUrl, 7); }},
        {"StopAd", [](Client& c) { c.proxy->stopAd(); }},
        {"PreloadAd", [](Client& c) { c.proxy->preloadAd(c.kText, c.kText); }},
    };
}

std::vector<Operation> otherRequests() {
    return {
        {"RequestCreate", [](Client& c) { c.manager.requestCreateRemoteObject(c.kSession); }},
        {"RequestCreateSync", [](Client& c) { return c.manager.requestCreateRemoteObjectSync(c.kSession); }},
        {"RequestInspect", [](Client& c) { c.manager.requestRemoteObjectInspect(); }},
        {"RequestInspectSync", [](Client& c) { return c.manager.requestRemoteObjectInspectSync(); }},
        {"CheckAlive", [](Client& c) { return c.manager.checkZUVServiceAlive(); }},
        {"CheckAliveUnanswered", [](Client& c) { return c.manager.checkZUVServiceAlive(); }, silenceService},
    };
}

std::vector<Operation> creation() {
    return {
        {"EntryCreate", [](Client& c) { return c.interface.createNewZUVMediaProxy(); }},
        {"StaticCreate", [](Client&) { return ZUVMediaProxyInterface::create(); }},
        {"NewProxyId", [](Client& c) { return c.manager.createNewProxyId(); }},
    };
}

std::vector<Operation> otherCreation() {
    return {
        {"EntryCreateForId", [](Client& c) { return c.interface.createNewZUVMediaProxy(c.kOtherId); }},
        {"EntryCreateSync", [](Client& c) { return c.interface.createNewZUVMediaProxySync(); }},
        {"EntryCreateSyncForId", [](Client& c) { return c.interface.createNewZUVMediaProxySync(c.kOtherId); }},
        {"CreateUnanswered", [](Client& c) { return c.manager.createNewZUVMediaProxy(); }, silenceService},
        {"CreateSyncUnanswered", [](Client& c) { return c.manager.createNewZUVMediaProxySync(); }, silenceService},
        {"ProxyCreate",
         [](Client& c) -> std::shared_ptr<ZUVMediaProxyInterface> { return ZUVMediaProxyObject::create(c.kOtherId); }},
    };
}

std::vector<Operation> managerCore() {
    return {
        {"EntrySetCallback", [](Client& c) { c.interface.setZUVCallback(mainCallback); }},
        {"EntrySetAdCallback", [](Client& c) { c.interface.setZUVAdCallback(adCallback); }},
        {"CreateModelAccess", [](Client& c) { c.manager.createModelAccess(); }, loseConnection},
        {"StartService", [](Client& c) { c.manager.requestStartZUVService(); }},
        {"NotifyDefinitions", [](Client& c) { c.manager.notifyDefinitionsChanged(c.kProxyId, c.kText); }},
        {"NotifyUrl", [](Client& c) { c.manager.notifyURLChanged(c.kProxyId, c.kUrl); }},
        {"NotifyAdUrl", [](Client& c) { c.manager.notifyAdURLChanged(c.kProxyId, c.kUrl); }},
        {"RequestPause", [](Client& c) { c.manager.requestRemoteObjectPause(c.kProxyId); }},
        {"RequestPauseSync", [](Client& c) { return c.manager.requestRemoteObjectPauseSync(c.kProxyId); }},
    };
}

std::vector<Operation> registry() {
    return {
        {"StaticObjectById", [](Client& c) { return ZUVMediaProxyInterface::getObjectById(c.kProxyId); }},
        {"Cache", [](Client& c) { c.manager.cacheProxyObject(c.stranger); }},
        {"FindInCache", [](Client& c) { return c.manager.findProxyObjectFromCache(c.kProxyId); }},
        {"FindUnknownInCache", [](Client& c) { return c.manager.findProxyObjectFromCache(c.kOtherId); }},
        {"RemoveFromCache", [](Client& c) { c.manager.removeProxyObjectFromCache(c.kProxyId); }},
        {"FindObjectById", [](Client& c) { return c.manager.findObjectById(c.kProxyId); }},
        {"RemoteObjectId", [](Client& c) { return c.manager.getRemoteObjectId(c.kProxyId); }},
        {"Uuid", [](Client& c) { return c.manager.generateUUID(); }},
        {"SessionId", [](Client& c) { return c.manager.getNextSessionId(); }},
    };
}

std::vector<Operation> events() {
    return {
        {"CreatedEvent", [](Client& c) { c.deliver("created"); }},
        {"CreateFailedEvent", [](Client& c) { c.deliver("created", "500"); }},
        {"StatusEvent", [](Client& c) { c.deliver("status"); }},
        {"StartedEvent", [](Client& c) { c.deliver("started"); }, letProxyStart},
        {"StoppedEvent", [](Client& c) { c.deliver("stopped"); }},
        {"SeekedEvent", [](Client& c) { c.deliver("seeked"); }},
        {"DefinitionEvent", [](Client& c) { c.deliver("definition"); }, letProxyStart},
        {"UnknownEvent", [](Client& c) { c.deliver("an event that nobody has ever heard of"); }},
        {"EventForNobody", [](Client& c) { c.deliver("stopped"); },
         [](Client& c) { c.manager.m_proxyObjects.clear(); }},
        {"NeutralEvent", [](Client& c) { c.manager.initializeZUVEvent(); }},
        {"ProxyAdStartedEvent", [](Client& c) { c.tellProxyOfAdvertisement("started"); }, letProxyStart},
        {"ProxyStartFailedEvent", [](Client& c) { c.tellProxy("started", "500"); }},
        {"ProxyAdStartFailedEvent", [](Client& c) { c.tellProxyOfAdvertisement("started", "500"); }},
        {"ProxyStopFailedEvent", [](Client& c) { c.tellProxy("stopped", "500"); }},
        {"ProxyAdStoppedEvent", [](Client& c) { c.tellProxyOfAdvertisement("stopped"); }},
        {"ProxyAdStopFailedEvent", [](Client& c) { c.tellProxyOfAdvertisement("stopped", "500"); }},
        {"ProxySeekFailedEvent", [](Client& c) { c.tellProxy("seeked", "500"); }},
    };
}

std::vector<Operation> eventMemory() {
    return {
        {"CheckEventMemory", [](Client& c) { return c.manager.checkZUVEventMemory(); }},
        {"ReadEventMemory", [](Client& c) { return c.manager.readZUVEventMemory(); }, leaveEventInRegion},
        {"ReadNestedEventMemory", [](Client& c) { return c.manager.readZUVEventMemory(); }, leaveNestedMembersInRegion},
        {"ReadBadEventMemory", [](Client& c) { return c.manager.readZUVEventMemory(); }, leaveNoEventAnywhere},
        {"ReadEvent", [](Client& c) { return c.manager.readZUVEvent(); }, leaveEventInRegion},
        {"ReadEventOfBus", [](Client& c) { return c.manager.readZUVEvent(); }, leaveNoEventAnywhere},
    };
}

std::vector<Operation> proxyOperations() {
    return {
        {"Id", [](Client& c) { return c.proxy->id(); }},
        {"LocalUrl", [](Client& c) { return c.proxy->localURL(); }, preloaded},
        {"LocalAdUrl", [](Client& c) { return c.proxy->localAdURL(); }, preloaded},
        {"State", [](Client& c) { return c.proxy->getState(); }},
        {"AdState", [](Client& c) { return c.proxy->getAdState(); }},
        {"Pause", [](Client& c) { c.proxy->pause(); }},
        {"SeekWhileIdle", [](Client& c) { c.proxy->seek(3.25, c.kText); }},
        {"AttachToPreload", [](Client& c) { c.proxy->start(c.kUrl, 0); }, preloaded},
        {"AttachToAdPreload", [](Client& c) { c.proxy->startAd(c.kUrl, 0); }, preloaded},
        {"AttachByReading",
         [](Client& c) {
             c.proxy->m_localURL.clear(); // stored before a failure, it would be taken the next time
             c.proxy->start(c.kUrl, 0);
         },
         leaveEventInRegion},
        {"AttachAdByReading", [](Client& c) { c.proxy->startAd(c.kUrl, 0); }, leaveEventInRegion},
    };
}

std::vector<Operation> proxyHandlers() {
    return {
        {"OnDefinitionsChanged", [](Client& c) { c.proxy->onDefinitionsChanged(c.kText); }, letProxyStart},
        {"OnDefinitionsChangedWhileIdle", [](Client& c) { c.proxy->onDefinitionsChanged(c.kText); }},
        {"OnMediaStarted", [](Client& c) { c.proxy->onMediaStarted(c.kUrl); }, letProxyStart},
        {"OnMediaStopped", [](Client& c) { c.proxy->onMediaStopped(); }},
        {"OnMediaStartedFailed", [](Client& c) { c.proxy->onMediaStartedFailed(kKind, c.kText); }},
        {"OnMediaStoppedFailed", [](Client& c) { c.proxy->onMediaStoppedFailed(kKind, c.kText); }},
        {"OnMediaSeeked", [](Client& c) { c.proxy->onMediaSeeked(); }},
        {"OnMediaSeekedFailed", [](Client& c) { c.proxy->onMediaSeekedFailed(kKind, c.kText); }},
        {"OnAdMediaStarted", [](Client& c) { c.proxy->onAdMediaStarted(c.kUrl); }, letProxyStart},
        {"OnAdMediaStopped", [](Client& c) { c.proxy->onAdMediaStopped(); }},
        {"OnAdMediaStartedFailed", [](Client& c) { c.proxy->onAdMediaStartedFailed(kKind, c.kText); }},
        {"OnAdMediaStoppedFailed", [](Client& c) { c.proxy->onAdMediaStoppedFailed(kKind, c.kText); }},
    };
}

void addInBothModes(std::vector<OperationGroup>& groups, const char* asynchronous, const char* synchronous,
                    const std::vector<Operation>& operations) {
    groups.push_back({asynchronous, Mode::Asynchronous, operations});
    groups.push_back({synchronous, Mode::Synchronous, operations});
}

} // namespace

std::vector<OperationGroup> playbackOperations() {
    std::vector<OperationGroup> groups;
    addInBothModes(groups, "Playback", "PlaybackInSynchronousMode", playbackRequests());
    addInBothModes(groups, "Proxy", "ProxyInSynchronousMode", proxyCommands());
    return groups;
}

std::vector<OperationGroup> everyOperation() {
    std::vector<OperationGroup> groups = playbackOperations();
    addInBothModes(groups, "Requests", "RequestsInSynchronousMode", otherRequests());
    addInBothModes(groups, "Creation", "CreationInSynchronousMode", creation());
    groups.push_back({"CreationOfOneMode", Mode::Asynchronous, otherCreation()});
    groups.push_back({"ManagerCore", Mode::Asynchronous, managerCore()});
    groups.push_back({"Registry", Mode::Asynchronous, registry()});
    groups.push_back({"Events", Mode::Asynchronous, events()});
    groups.push_back({"EventMemory", Mode::Asynchronous, eventMemory()});
    groups.push_back({"ProxyOfOneMode", Mode::Asynchronous, proxyOperations()});
    groups.push_back({"ProxyHandlers", Mode::Asynchronous, proxyHandlers()});
    return groups;
}

void expectSame(const Outcome& actual, const Outcome& expected) {
    EXPECT_EQ(actual.result, expected.result);
    EXPECT_EQ(asText(actual.journal), asText(expected.journal));
    EXPECT_EQ(actual.state, expected.state);
}

void expectCutOff(const std::vector<std::string>& journal, const std::vector<std::string>& undisturbed) {
    auto line = std::ranges::mismatch(journal, undisturbed).in1;
    for (; line != journal.end(); ++line)
        EXPECT_TRUE(line->find("[TRACE <-") != std::string::npos || *line == busLine("connection deleted"))
            << *line << "\nfollows where the call was cut off";
    const auto traces = [&](const char* text) {
        return std::ranges::count_if(journal, [&](const auto& l) { return l.find(text) != l.npos; });
    };
    EXPECT_EQ(traces("[TRACE ->"), traces("[TRACE <-"));
}

Outcome undisturbedOutcome(const Operation& operation, Mode mode) {
    OwnClient client(mode);
    operation.prepare(client);
    client.beginCall();
    return {operation.call(client), journal().lines(), client.state()};
}

} // namespace velmora::test
