// The manager's construction, connection, callbacks, service start, pause and destruction.
#include "client/client_test.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>
#include <utility>

namespace velmora::test {
namespace {

class ManagerSingleton : public PlatformTest {};

TEST_F(ManagerSingleton, IsOneObjectWithOneConnection) {
    ZUVMediaProxyManager* manager = ZUVMediaProxyManager::getInstance();

    EXPECT_EQ(ZUVMediaProxyManager::getInstance(), manager);

    EXPECT_JOURNAL(managerLog(4000, "ZUVMediaProxyManager", "enter, %p\n", static_cast<void*>(manager)),
                   busLine("connection made"), busLine("initialize"), busLine("start"));
}

TEST_F(ManagerSingleton, ReceivesTheConnectionsEvents) {
    ZUVMediaProxyManager* manager = ZUVMediaProxyManager::getInstance();

    EXPECT_EQ(bus().client(), static_cast<ZUVModelAccessClient*>(manager));
}

TEST_F(ManagerSingleton, IsKeptWhenTheConnectionReportsFailure) {
    bus().result = -1;

    ZUVMediaProxyManager* manager = ZUVMediaProxyManager::getInstance();

    EXPECT_NE(manager->m_modelAccess, nullptr);
    EXPECT_EQ(journal().linesOf("bus: ").back(), busLine("start"));
}

TEST_F(ManagerSingleton, FailedConstructionLeavesNothingAndTheNextCallTriesAgain) {
    bus().onConnectionMade = [] { throw std::bad_alloc(); };
    EXPECT_THROW(ZUVMediaProxyManager::getInstance(), std::bad_alloc);
    bus().onConnectionMade = [] {};
    journal().clear();

    ZUVMediaProxyManager* manager = ZUVMediaProxyManager::getInstance();

    ASSERT_NE(manager, nullptr);
    EXPECT_EQ(ZUVMediaProxyManager::getInstance(), manager);
    EXPECT_EQ(journal().count(busLine("start")), 1u);
}

TEST_F(ManagerSingleton, FailedInitializationReleasesTheConnection) {
    bus().onInitialize = [] { throw std::bad_alloc(); };

    EXPECT_THROW(ZUVMediaProxyManager::getInstance(), std::bad_alloc);

    EXPECT_EQ(journal().lines().back(), busLine("connection deleted"));
}

TEST_F(ManagerSingleton, FailedStartReleasesTheConnectionToo) {
    bus().onStart = [] { throw std::bad_alloc(); };

    EXPECT_THROW(ZUVMediaProxyManager::getInstance(), std::bad_alloc);

    EXPECT_EQ(journal().lines().back(), busLine("connection deleted"));
}

TEST_F(ManagerSingleton, FailedAllocationTriesAgainToo) {
    failNext(Call::New);
    EXPECT_THROW(ZUVMediaProxyManager::getInstance(), std::bad_alloc);
    EXPECT_JOURNAL();

    EXPECT_NE(ZUVMediaProxyManager::getInstance(), nullptr);
}

TEST_F(ManagerSingleton, FirstCallIsGuardedByNothing) {
    ZUVMediaProxyManager* inner = nullptr;
    bus().onConnectionMade = [&, first = true]() mutable {
        if (std::exchange(first, false))
            inner = ZUVMediaProxyManager::getInstance();
    };

    ZUVMediaProxyManager* outer = ZUVMediaProxyManager::getInstance();

    EXPECT_NE(inner, outer);
    EXPECT_EQ(ZUVMediaProxyManager::getInstance(), outer);
    delete inner;
}

TEST_F(ManagerSingleton, IsNotDestroyedWhenTheProcessEnds) {
    eventRegion().onUnlink = [] { _exit(1); };
    ZUVMediaProxyManager::getInstance();

    EXPECT_EXIT(std::exit(0), ::testing::ExitedWithCode(0), "");
}

/// A manager in memory that held something else before.
class UsedMemory {
public:
    template <typename... Arguments>
    explicit UsedMemory(Arguments... arguments) {
        std::ranges::fill(m_memory, std::byte(1)); // a bool of any other value may read as either
        m_manager = new (m_memory) ZUVMediaProxyManager(arguments...);
    }
    ~UsedMemory() { m_manager->~ZUVMediaProxyManager(); }
    ZUVMediaProxyManager& manager() { return *m_manager; }

private:
    alignas(ZUVMediaProxyManager) std::byte m_memory[sizeof(ZUVMediaProxyManager)];
    ZUVMediaProxyManager* m_manager;
};

void expectInitialFields(ZUVMediaProxyManager& manager) {
    EXPECT_EQ(manager.m_callback, nullptr);
    EXPECT_EQ(manager.m_adCallback, nullptr);
    EXPECT_TRUE(manager.m_remoteObjectIds.empty());
    EXPECT_TRUE(manager.m_createdObjectIds.empty());
    EXPECT_TRUE(manager.m_proxyObjects.empty());
    EXPECT_NE(manager.m_modelAccess, nullptr);
    EXPECT_FALSE(manager.m_syncMode);
    EXPECT_TRUE(std::ranges::all_of(manager.m_eventBuffer, [](char c) { return c == 0; }));
    EXPECT_EQ(manager.m_eventMemory, nullptr);
}

class ManagerConstruction : public PlatformTest {};

TEST_F(ManagerConstruction, SetsEveryField) {
    UsedMemory memory;

    expectInitialFields(memory.manager());
}

TEST_F(ManagerConstruction, AdoptingSetsEveryFieldToo) {
    UsedMemory memory(std::make_shared<AdoptedConnection>());

    expectInitialFields(memory.manager());
}

TEST_F(ManagerConstruction, AdoptingInitializesAndStartsTheGivenConnectionWithoutALogLine) {
    std::shared_ptr<IZuvModelAccess> connection = std::make_shared<AdoptedConnection>();

    ZUVMediaProxyManager manager(connection);

    EXPECT_EQ(manager.m_modelAccess, connection);
    EXPECT_EQ(connection.use_count(), 2);
    EXPECT_JOURNAL("adopted bus: initialize", "adopted bus: start");
}

TEST_F(ManagerConstruction, AdoptedConnectionIsTheOneThatIsUsed) {
    ZUVMediaProxyManager manager(std::make_shared<AdoptedConnection>());
    journal().clear();

    manager.createModelAccess();
    manager.requestStartZUVService();

    EXPECT_JOURNAL("adopted bus: start service");
}

// createModelAccess

class ModelAccess : public ManagerTest {};

TEST_F(ModelAccess, IsLeftAloneWhenThereIsOne) {
    const std::shared_ptr<IZuvModelAccess> connection = manager.m_modelAccess;

    manager.createModelAccess();

    EXPECT_EQ(manager.m_modelAccess, connection);
    EXPECT_JOURNAL();
}

TEST_F(ModelAccess, IsCreatedAndInitializedButNotStarted) {
    manager.m_modelAccess.reset();
    journal().clear();

    manager.createModelAccess();

    EXPECT_NE(manager.m_modelAccess, nullptr);
    EXPECT_EQ(bus().client(), static_cast<ZUVModelAccessClient*>(&manager));
    EXPECT_JOURNAL(busLine("connection made"), busLine("initialize"));
}

TEST_F(ModelAccess, IsStoredBeforeItIsInitialized) {
    manager.m_modelAccess.reset();
    bool stored = false;
    bus().onInitialize = [&] { stored = manager.m_modelAccess != nullptr; };

    manager.createModelAccess();

    EXPECT_TRUE(stored);
}

TEST_F(ModelAccess, ConnectionIsDeletedWhenItsBookkeepingCannotBeAllocated) {
    manager.m_modelAccess.reset();
    journal().clear();
    bus().onConnectionMade = [] { failNext(Call::New); };

    EXPECT_THROW(manager.createModelAccess(), std::bad_alloc);

    EXPECT_EQ(manager.m_modelAccess, nullptr);
    EXPECT_JOURNAL(busLine("connection made"), busLine("connection deleted"));
}

TEST_F(ModelAccess, ChangeOfStateMeansNothing) {
    manager.onModelAccessStateChanged();

    EXPECT_JOURNAL();
}

// Callbacks

class Callbacks : public ManagerTest {};

TEST_F(Callbacks, AreStoredWithoutALogLineOrALock) {
    watch(manager.m_mutex, "manager");

    manager.setZUVCallback(adCallback);
    manager.setZUVAdCallback(mainCallback);

    EXPECT_EQ(manager.m_callback, adCallback);
    EXPECT_EQ(manager.m_adCallback, mainCallback);
    EXPECT_JOURNAL();
}

TEST_F(Callbacks, MayBeCleared) {
    manager.setZUVCallback(nullptr);
    manager.setZUVAdCallback(nullptr);

    EXPECT_EQ(manager.m_callback, nullptr);
    EXPECT_EQ(manager.m_adCallback, nullptr);
}

using CallbackField = ZUVCallback ZUVMediaProxyManager::*;

struct Notification {
    const char* name;
    const char* operation;
    void (ZUVMediaProxyManager::*notify)(const std::string&, std::string);
    CallbackField callback;
    CallbackField otherCallback;
    const char* callbackName;
    const char* key;
};

class Notifying : public ManagerTest, public ::testing::WithParamInterface<Notification> {
protected:
    void notify() { std::invoke(GetParam().notify, manager, "movie", "news"); }
    std::string call() const { return calledBack(GetParam().callbackName, "movie", GetParam().key, "news"); }
};

TEST_P(Notifying, CallsTheApplicationOnTheCallingThread) {
    notify();

    EXPECT_JOURNAL(call());
    EXPECT_EQ(journal().threadOf(call()), std::this_thread::get_id());
}

TEST_P(Notifying, HoldsNoLockDuringTheCall) {
    watch(manager.m_mutex, "manager");

    notify();

    EXPECT_JOURNAL(call());
}

TEST_P(Notifying, WithoutCallbackIsLogged) {
    manager.*GetParam().callback = nullptr;

    notify();

    EXPECT_JOURNAL(managerLog(4000, GetParam().operation, "notify error\n"));
}

TEST_P(Notifying, DoesNotNeedTheOtherCallback) {
    manager.*GetParam().otherCallback = nullptr;

    notify();

    EXPECT_JOURNAL(call());
}

TEST_P(Notifying, UsesTheCallbackThatWasSetLast) {
    manager.*GetParam().callback = nullptr;
    manager.setZUVCallback(adCallback);
    manager.setZUVAdCallback(mainCallback);

    notify();

    const char* exchanged = std::string(GetParam().callbackName) == "main" ? "ad" : "main";
    EXPECT_JOURNAL(calledBack(exchanged, "movie", GetParam().key, "news"));
}

TEST_P(Notifying, PutsOutNothingWhileLevelsAreOff) {
    manager.*GetParam().callback = nullptr;
    recordingLog().wantedUpTo = 3999;

    notify();

    EXPECT_JOURNAL();
}

INSTANTIATE_TEST_SUITE_P(
    Operations, Notifying,
    ::testing::Values(
        Notification{"Definitions", "notifyDefinitionsChanged", &ZUVMediaProxyManager::notifyDefinitionsChanged,
                     &ZUVMediaProxyManager::m_callback, &ZUVMediaProxyManager::m_adCallback, "main", "definitions"},
        Notification{"Url", "notifyURLChanged", &ZUVMediaProxyManager::notifyURLChanged,
                     &ZUVMediaProxyManager::m_callback, &ZUVMediaProxyManager::m_adCallback, "main", "url"},
        Notification{"AdUrl", "notifyAdURLChanged", &ZUVMediaProxyManager::notifyAdURLChanged,
                     &ZUVMediaProxyManager::m_adCallback, &ZUVMediaProxyManager::m_callback, "ad", "url"}),
    caseName);

// Service start

class ServiceStart : public ManagerTest {};

TEST_F(ServiceStart, IsAskedOfTheConnection) {
    bus().result = -1;

    manager.requestStartZUVService();

    EXPECT_JOURNAL(busLine("start service"));
}

TEST_F(ServiceStart, WithoutConnectionIsLogged) {
    manager.m_modelAccess.reset();
    journal().clear();

    manager.requestStartZUVService();

    EXPECT_JOURNAL(managerLog(1000, "requestStartZUVService", "Cannot get access.\n"));
}

// Pause

class Pause : public ManagerTest {};

TEST_F(Pause, IsPrintedAndLoggedButNotSent) {
    manager.requestRemoteObjectPause("movie");

    EXPECT_JOURNAL(printedLine("zuv_media_proxy_manager.cpp", "requestRemoteObjectPause"),
                   managerLog(1000, "requestRemoteObjectPause", "NotImplemented.\n"));
}

TEST_F(Pause, IsPrintedWhileTheLogIsOffAndInSynchronousModeToo) {
    manager.m_syncMode = true;
    recordingLog().wantedUpTo = 0;

    manager.requestRemoteObjectPause("movie");

    EXPECT_JOURNAL(printedLine("zuv_media_proxy_manager.cpp", "requestRemoteObjectPause"));
}

TEST_F(Pause, SynchronousVariantDoesNothing) {
    EXPECT_EQ(manager.requestRemoteObjectPauseSync("movie"), 0);

    EXPECT_JOURNAL();
}

// Destruction

class ManagerDestruction : public PlatformTest {};

TEST_F(ManagerDestruction, UnlinksTheRegionAndReleasesTheConnection) {
    auto manager = std::make_unique<ZUVMediaProxyManager>();
    journal().clear();

    manager.reset();

    EXPECT_JOURNAL(managerLog(4000, "~ZUVMediaProxyManager", "enter\n"), unlinked(), busLine("connection deleted"));
}

TEST_F(ManagerDestruction, ReleasesOnlyItsShareOfAnAdoptedConnection) {
    std::shared_ptr<IZuvModelAccess> connection = std::make_shared<AdoptedConnection>();
    auto manager = std::make_unique<ZUVMediaProxyManager>(connection);
    journal().clear();

    manager.reset();

    EXPECT_EQ(connection.use_count(), 1);
    EXPECT_JOURNAL(managerLog(4000, "~ZUVMediaProxyManager", "enter\n"), unlinked());
}

TEST_F(ManagerDestruction, LeavesSynchronousModeAfterItsLineAndBeforeItUnlinks) {
    auto* manager = new ZUVMediaProxyManager();
    manager->m_syncMode = true;
    bool syncModeAtLine = false;
    recordingLog().onLine = [&](const std::string&) { syncModeAtLine = manager->m_syncMode; };
    bool syncModeAtUnlink = true;
    eventRegion().onUnlink = [&] { syncModeAtUnlink = manager->m_syncMode; };

    delete manager;

    EXPECT_TRUE(syncModeAtLine);
    EXPECT_FALSE(syncModeAtUnlink);
}

TEST_F(ManagerDestruction, LogsBeforeItLeavesSynchronousMode) {
    auto* manager = new ZUVMediaProxyManager();
    manager->m_syncMode = true;
    bool syncModeAtLine = false;
    recordingLog().onLine = [&](const std::string&) { syncModeAtLine = manager->m_syncMode; };

    delete manager;

    EXPECT_TRUE(syncModeAtLine);
}

TEST_F(ManagerDestruction, ReleasesTheConnectionBeforeTheRegistry) {
    auto* manager = new ZUVMediaProxyManager();
    std::size_t registeredWhenDeleted = 0;
    manager->m_proxyObjects["movie"] = ZUVMediaProxyObject::create("movie");
    bus().onConnectionDeleted = [&] { registeredWhenDeleted = manager->m_proxyObjects.size(); };

    delete manager;

    EXPECT_EQ(registeredWhenDeleted, 1u);
}

TEST_F(ManagerDestruction, DoesNotUnmapTheRegion) {
    auto manager = std::make_unique<ZUVMediaProxyManager>();
    eventRegion().create();
    ASSERT_EQ(manager->checkZUVEventMemory(), 0);
    const char* mapping = manager->m_eventMemory;

    manager.reset();

    eventRegion().write("still here");
    EXPECT_EQ(std::string(mapping), "still here");
}

TEST_F(ManagerDestruction, EndsTheProcessWhenAnythingIsThrownInside) {
    ZUVMediaProxyManager manager;
    const auto destroyWithThrowingLog = [&] {
        recordingLog().onLine = [](const std::string&) { throw std::bad_alloc(); };
        try {
            manager.~ZUVMediaProxyManager();
        } catch (...) {
        }
    };

    EXPECT_DEATH(destroyWithThrowingLog(), "bad_alloc");
}

} // namespace
} // namespace velmora::test
