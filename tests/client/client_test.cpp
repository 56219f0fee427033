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

// GoogleTest measures with the same clock.
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

std::vector<std::string> noAccess(const char* function) {
    return {busLine("connection made"), busLine("initialize"), managerLog(1000, function, "No Access\n")};
}

} // namespace velmora::test

velmora::ZUVMediaProxyManager* realManager() asm("__real__ZN7velmora20ZUVMediaProxyManager11getInstanceEv");
velmora::ZUVMediaProxyManager* wrappedManager() asm("__wrap__ZN7velmora20ZUVMediaProxyManager11getInstanceEv");
velmora::ZUVMediaProxyManager* wrappedManager() {
    return velmora::test::managerToGive ? *velmora::test::managerToGive : realManager();
}
