#include "client/client_test.h"

#include <utility>

namespace velmora::test {

std::optional<ZUVMediaProxyManager*> managerToGive;

std::function<void()> duringCallback = [] {};

void mainCallback(std::string id, std::string key, std::string value) {
    const OwnWork work;
    journal().add(calledBack("main", id, key, value));
    duringCallback();
}

void adCallback(std::string id, std::string key, std::string value) {
    const OwnWork work;
    journal().add(calledBack("ad", id, key, value));
    duringCallback();
}

PlatformTest::PlatformTest() {
    virtualTime().begin();
    numberUuids();
}

// GoogleTest measures the duration of tests with the replaced clock.
PlatformTest::~PlatformTest() {
    virtualTime().end();
}

ManagerTest::ManagerTest() : manager(*ZUVMediaProxyManager::getInstance()) {
    manager.setZUVCallback(mainCallback);
    manager.setZUVAdCallback(adCallback);
    journal().clear();
}

ManagerTest::~ManagerTest() {
    EXPECT_FALSE(isHeld(manager.m_mutex));
}

std::shared_ptr<ZUVMediaProxyObject> ManagerTest::registeredObject(const std::string& id) {
    std::shared_ptr<ZUVMediaProxyObject> object = ZUVMediaProxyObject::create(id);
    manager.cacheProxyObject(object);
    journal().clear();
    return object;
}

void ManagerTest::mapRegion() {
    eventRegion().create();
    manager.checkZUVEventMemory();
    journal().clear();
}

void ManagerTest::enterSynchronousMode() {
    mapRegion();
    manager.m_syncMode = true;
}

void ManagerTest::loseAccess() {
    bus().onInitialize = [this] { m_lostAccesses.push_back(std::move(manager.m_modelAccess)); };
    manager.m_modelAccess.reset();
    journal().clear();
}

void Creation::answerOverBus(int nth, nanoseconds delay, const std::string& id) {
    bus().onCommand("create", nth, [delay, id](const Strings& command) {
        virtualTime().after(delay, [event = createdEvent(command[2], id)] { bus().deliver(event); });
    });
}

void Creation::answerInMemory(int nth, const std::string& id) {
    bus().onCommand("create", nth, answersInMemory("200", id));
}

void Creation::wakeWithStatus(nanoseconds delay) {
    virtualTime().after(delay, [] { bus().deliver({"status", "200", "other", ""}); });
}

void Creation::letPublishesTakeAMillisecond() {
    bus().onPublish = [](const std::string&, const Strings&) { virtualTime().advance(milliseconds(1)); };
}

std::vector<std::string> noAccess(const char* function) {
    return {busLine("connection made"), busLine("initialize"), managerLog(1000, function, "No Access\n")};
}

std::string noObjectFor(const std::string& name, const std::string& code, const std::string& id) {
    return managerLog(1000, "onZUVEvent", "unable to find object for event: %s, %s,%s\n", name.c_str(), code.c_str(),
                      id.c_str());
}

std::string opened() {
    return "shm_open \"/ZUV_PROXY\" O_RDWR 0666";
}

std::string resized() {
    return "ftruncate 4096";
}

std::string mapped() {
    return "mmap null 4096 PROT_READ MAP_SHARED 0";
}

std::string closed() {
    return "close";
}

std::string unlinked() {
    return "shm_unlink \"/ZUV_PROXY\"";
}

std::vector<std::string> regionChecked() {
    return {opened(), resized(), mapped(), closed()};
}

std::vector<std::string> regionMissing() {
    return {opened(), managerLog(4000, "checkZUVEventMemory", "Failed to allocate shared memory\n\n")};
}

std::string regionNotMapped() {
    return managerLog(4000, "readZUVEventMemory", "memory NULL.\n");
}

std::vector<std::string> regionRead(const std::string& text, const Strings& elevenParameters) {
    std::vector<std::string> lines = {
        managerLog(4000, "readZUVEventMemory", "buf: %s\n", text.c_str()),
        managerLog(4000, "readZUVEventMemory", "updateParameters\n"),
    };
    for (std::size_t i = 0; i < 11; ++i)
        lines.push_back(managerLog(5000, "readZUVEventMemory", "parameter %d:   %s \n", static_cast<int>(i),
                                   elevenParameters.at(i).c_str()));
    return lines;
}

std::vector<std::string> regionRead(const Strings& parameters) {
    Strings eleven = parameters;
    eleven.resize(11);
    return regionRead(eventText(parameters), eleven);
}

namespace {

constexpr const char* kWait = "waitRequestRemoteObjectCompleted";

} // namespace

std::string waitEntered(const std::string& session, const std::string& name) {
    return managerLog(4000, kWait, "enter  id:%s, name:%s\n", session.c_str(), name.c_str());
}

std::string waitPolled(const std::string& session, const std::string& name) {
    return managerLog(4000, kWait, " id:%s, name:%s\n", session.c_str(), name.c_str());
}

std::string waitUsed(int time) {
    return managerLog(4000, kWait, " used time: %d/%d\n", time, 250);
}

std::string waitTimedOut() {
    return managerLog(1000, kWait, "Task timeout: %d/%d\n", 250, 250);
}

std::vector<std::string> answeredWait(const Strings& answer) {
    return joined({{waitEntered(answer.at(2), answer.at(0))}, regionRead(answer), {waitUsed(0)}});
}

std::vector<std::string> unansweredWait(const std::string& session, const std::string& name) {
    const std::vector<std::string> read = {
        managerLog(4000, "readZUVEventMemory", "buf: %s\n", ""),
        managerLog(1000, "readZUVEventMemory", "Fail to parse json string:%s.\n", "")};
    std::vector<std::string> lines = joined({{waitEntered(session, name)}, read});
    for (int sleeps = 0; sleeps < 5; ++sleeps)
        lines = joined({lines, {slept(kPollInterval)}, read, {waitPolled("", "")}});
    return joined({lines, {waitTimedOut()}});
}

Strings createdEvent(const std::string& session, const std::string& id) {
    return {"created", "200", session, id};
}

RecordingBus::CommandAction answersInMemory(const std::string& code, const std::string& id) {
    return [code, id](const Strings& command) { eventRegion().writeEvent({"created", code, command[2], id}); };
}

std::string syncCreateLogged() {
    return managerLog(4000, "requestCreateRemoteObjectSync", "Create  RemoteObject sync.\n");
}

std::string asyncCreateLogged() {
    return managerLog(4000, "requestCreateRemoteObject", "Create   RemoteObject.\n");
}

std::string createCommand(const std::string& session) {
    return command({{0, "create"}, {2, session}});
}

std::vector<std::string> handedOver(const std::string& session, const std::string& id) {
    return {managerLog(1, "onZUVEvent", "New Created Object: %s - %s\n", session.c_str(), id.c_str()), notifiedAll()};
}

std::vector<std::string> answeredSyncCreate(const std::string& session, const std::string& id) {
    return joined({neutralEventPublished(),
                   {syncCreateLogged(), createCommand(session)},
                   answeredWait(createdEvent(session, id)),
                   handedOver(session, id)});
}

std::vector<std::string> unansweredSyncCreate(const std::string& session) {
    return joined(
        {neutralEventPublished(), {syncCreateLogged(), createCommand(session)}, unansweredWait(session, "created")});
}

std::string attemptSession(int nth) {
    return sessionId(nth + 1);
}

std::string attemptEntered() {
    return managerLog(4000, "createNewProxyId", "enter\n");
}

std::vector<std::string> attempt(int nth) {
    return {attemptEntered(), asyncCreateLogged(), createCommand(attemptSession(nth))};
}

std::string restarting(int nth) {
    return managerLog(1000, "createNewProxyId", "Wait response timeout for id:%s, restart zuv service.\n",
                      attemptSession(nth).c_str());
}

std::string givingUp(int nth) {
    return managerLog(1000, "createNewProxyId", "Wait response total timeout for id:%s, just return.\n",
                      attemptSession(nth).c_str());
}

std::string objectMade(const std::string& id) {
    return objectLog(4000, "ZUVMediaProxyObject", "new ProxyObject id:%s\n", id.c_str());
}

std::string startedLogged(const char* code, const char* detail, const char* url) {
    return objectLog(1, "onZUVEvent", "ZUV Media Proxy stated : %s ( %s) ,  %s\n", code, detail, url);
}

std::string currentState(const char* handler, int state) {
    return objectLog(4000, handler, "the current state : %d\n", state);
}

std::string startFailed(const char* handler, int state) {
    return objectLog(1000, handler, "Start failed when current state is :%d \n", state);
}

std::string stopFailed(const char* handler, const char* code, const char* detail) {
    return objectLog(1000, handler, "Stopped Failed:  %s, %s ,%s\n", "movie", code, detail);
}

} // namespace velmora::test

velmora::ZUVMediaProxyManager* realManager() asm("__real__ZN7velmora20ZUVMediaProxyManager11getInstanceEv");
velmora::ZUVMediaProxyManager* wrappedManager() asm("__wrap__ZN7velmora20ZUVMediaProxyManager11getInstanceEv");
velmora::ZUVMediaProxyManager* wrappedManager() {
    return velmora::test::managerToGive ? *velmora::test::managerToGive : realManager();
}
