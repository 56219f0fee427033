// The exported entry point, the manager interface and the statics of the proxy interface.
#include "client/client_test.h"
#include "zuv_media_manager_interface_impl.h"
#include "zuv_media_proxy.h"

#include <new>
#include <utility>

namespace velmora::test {
namespace {

class EntryInterface : public PlatformTest {
protected:
    /// The interface; its construction leaves nothing in the journal.
    static ZUVMediaProxyManagerInterface& readyInterface() {
        ZUVMediaProxyManagerInterface* interface = requestZUVMediaProxy();
        journal().clear();
        return *interface;
    }
    static ZUVMediaProxyManagerInterfaceImpl& implementation() {
        return static_cast<ZUVMediaProxyManagerInterfaceImpl&>(readyInterface());
    }
};

TEST_F(EntryInterface, EveryRequestGivesTheOneInterface) {
    ZUVMediaProxyManagerInterface* first = requestZUVMediaProxy();

    EXPECT_EQ(first, requestZUVMediaProxy());
    EXPECT_EQ(first, ZUVMediaProxyManagerInterface::getInstance());
}

TEST_F(EntryInterface, FirstRequestBuildsTheManagerAndItsConnection) {
    requestZUVMediaProxy();

    EXPECT_JOURNAL(entryLog(4000, "requestZUVMediaProxy", "get proxy manager interface.\n"),
                   managerLog(4000, "ZUVMediaProxyManager", "enter, %p\n",
                              static_cast<void*>(ZUVMediaProxyManager::getInstance())),
                   busLine("connection made"), busLine("initialize"), busLine("start"));
}

TEST_F(EntryInterface, LaterRequestsOnlyLog) {
    readyInterface();

    requestZUVMediaProxy();

    EXPECT_JOURNAL(entryLog(4000, "requestZUVMediaProxy", "get proxy manager interface.\n"));
}

TEST_F(EntryInterface, HoldsTheManagerSingleton) {
    EXPECT_EQ(implementation().m_impl, ZUVMediaProxyManager::getInstance());
}

TEST_F(EntryInterface, FirstRequestIsGuardedByNothing) {
    ZUVMediaProxyManagerInterface* inner = nullptr;
    bus().onConnectionMade = [&, first = true]() mutable {
        if (std::exchange(first, false))
            inner = requestZUVMediaProxy();
    };

    ZUVMediaProxyManagerInterface* outer = requestZUVMediaProxy();

    EXPECT_NE(inner, outer);
    EXPECT_EQ(requestZUVMediaProxy(), outer);
    delete static_cast<ZUVMediaProxyManagerInterfaceImpl*>(inner);
}

TEST_F(EntryInterface, FailedConstructionLeavesNothingBehindAndTheNextRequestTriesAgain) {
    bus().onConnectionMade = [] { throw std::bad_alloc(); };
    EXPECT_THROW(requestZUVMediaProxy(), std::bad_alloc);
    bus().onConnectionMade = [] {};
    journal().clear();

    ZUVMediaProxyManagerInterface* interface = requestZUVMediaProxy();

    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(journal().count(busLine("connection made")), 1u);
    EXPECT_EQ(requestZUVMediaProxy(), interface);
}

TEST_F(EntryInterface, FailedAllocationOfTheInterfaceLeavesNothingBehindEither) {
    failNext(Call::New);
    EXPECT_THROW(requestZUVMediaProxy(), std::bad_alloc);

    EXPECT_EQ(requestZUVMediaProxy(), ZUVMediaProxyManagerInterface::getInstance());
}

// The six forwarding operations.

struct Forwarding {
    const char* name;
    const char* operation;
    int level;
    std::function<std::shared_ptr<ZUVMediaProxyInterface>(ZUVMediaProxyManagerInterface&)> call;
    /// The first line that the manager puts out when the call reaches it; empty when it puts out none.
    std::string firstManagerLine;
};

const Forwarding forwardings[] = {
    {"Create", "createNewZUVMediaProxy", 4000, [](auto& interface) { return interface.createNewZUVMediaProxy(); },
     managerLog(4000, "createNewProxyId", "Enter\n")},
    {"CreateWithId", "createNewZUVMediaProxy", 4000,
     [](auto& interface) { return interface.createNewZUVMediaProxy("movie"); },
     objectLog(4000, "ZUVMediaProxyObject", "new ProxyObject id:%s\n", "movie")},
    {"CreateSync", "createNewZUVMediaProxySync", 4000,
     [](auto& interface) { return interface.createNewZUVMediaProxySync(); },
     managerLog(4000, "createNewZUVMediaProxySync", "Enter.\n")},
    {"CreateSyncWithId", "createNewZUVMediaProxySync", 4000,
     [](auto& interface) { return interface.createNewZUVMediaProxySync("movie"); },
     managerLog(4000, "createNewZUVMediaProxySync", "Enter, id:%s\n", "movie")},
    {"SetCallback", "setZUVCallback", 1000,
     [](auto& interface) {
         interface.setZUVCallback(mainCallback);
         return nullptr;
     },
     ""},
    {"SetAdCallback", "setZUVAdCallback", 1000,
     [](auto& interface) {
         interface.setZUVAdCallback(adCallback);
         return nullptr;
     },
     ""},
};

class ForwardingOperation : public EntryInterface, public ::testing::WithParamInterface<Forwarding> {
protected:
    std::string calledLine() const { return entryLog(GetParam().level, GetParam().operation, "called.\n"); }
};

TEST_P(ForwardingOperation, LogsThenCallsTheManager) {
    ZUVMediaProxyManagerInterface& interface = readyInterface();

    GetParam().call(interface);

    const std::vector<std::string> lines = journal().lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], calledLine());
    EXPECT_EQ(lines.size() > 1 ? lines[1] : "", GetParam().firstManagerLine);
}

TEST_P(ForwardingOperation, WithoutManagerGivesNothingAfterTwoLines) {
    ZUVMediaProxyManagerInterfaceImpl& interface = implementation();
    ZUVMediaProxyManager* manager = interface.m_impl;
    interface.m_impl = nullptr;

    EXPECT_EQ(GetParam().call(interface), nullptr);

    EXPECT_JOURNAL(calledLine(), entryLog(1000, GetParam().operation, "m_impl is NULL.\n"));
    EXPECT_EQ(manager->m_callback, nullptr);
    EXPECT_EQ(manager->m_adCallback, nullptr);
}

TEST_P(ForwardingOperation, PutsOutNothingWhileItsLevelIsOff) {
    ZUVMediaProxyManagerInterfaceImpl& interface = implementation();
    interface.m_impl = nullptr;
    recordingLog().wantedUpTo = 0;

    EXPECT_EQ(GetParam().call(interface), nullptr);

    EXPECT_JOURNAL();
}

INSTANTIATE_TEST_SUITE_P(Operations, ForwardingOperation, ::testing::ValuesIn(forwardings), caseName);

TEST_F(EntryInterface, CreateReturnsTheManagersProxy) {
    ZUVMediaProxyManagerInterface& interface = readyInterface();
    bus().onEveryCommand("create", [](const Strings& command) {
        virtualTime().after(milliseconds(50), [command] { bus().deliver({"created", "200", command[2], "object"}); });
    });

    std::shared_ptr<ZUVMediaProxyInterface> proxy = interface.createNewZUVMediaProxy();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "object");
    EXPECT_EQ(proxy, ZUVMediaProxyManager::getInstance()->m_proxyObjects.at("object"));
}

TEST_F(EntryInterface, CreateWithIdReturnsTheManagersProxy) {
    std::shared_ptr<ZUVMediaProxyInterface> proxy = readyInterface().createNewZUVMediaProxy("movie");

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_EQ(proxy, ZUVMediaProxyManager::getInstance()->m_proxyObjects.at("movie"));
    EXPECT_FALSE(ZUVMediaProxyManager::getInstance()->m_syncMode);
}

TEST_F(EntryInterface, CreateSyncReturnsTheManagersProxy) {
    ZUVMediaProxyManagerInterface& interface = readyInterface();
    eventRegion().create();
    bus().onEveryCommand("create", answersInMemory("200", "object"));

    std::shared_ptr<ZUVMediaProxyInterface> proxy = interface.createNewZUVMediaProxySync();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "object");
    EXPECT_EQ(proxy, ZUVMediaProxyManager::getInstance()->m_proxyObjects.at("object"));
}

TEST_F(EntryInterface, CreateSyncWithIdReturnsTheManagersProxy) {
    std::shared_ptr<ZUVMediaProxyInterface> proxy = readyInterface().createNewZUVMediaProxySync("movie");

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy, ZUVMediaProxyManager::getInstance()->m_proxyObjects.at("movie"));
    EXPECT_TRUE(ZUVMediaProxyManager::getInstance()->m_syncMode);
}

TEST_F(EntryInterface, SettersReachTheManager) {
    ZUVMediaProxyManagerInterface& interface = readyInterface();

    interface.setZUVCallback(mainCallback);
    interface.setZUVAdCallback(adCallback);

    EXPECT_EQ(ZUVMediaProxyManager::getInstance()->m_callback, mainCallback);
    EXPECT_EQ(ZUVMediaProxyManager::getInstance()->m_adCallback, adCallback);
}

// Without a manager.

TEST_F(EntryInterface, MissingManagerIsLoggedAndTheInterfaceKeptAllTheSame) {
    managerToGive = nullptr;

    ZUVMediaProxyManagerInterface* interface = requestZUVMediaProxy();

    ASSERT_NE(interface, nullptr);
    EXPECT_EQ(static_cast<ZUVMediaProxyManagerInterfaceImpl*>(interface)->m_impl, nullptr);
    EXPECT_JOURNAL(entryLog(4000, "requestZUVMediaProxy", "get proxy manager interface.\n"),
                   entryLog(1000, "ZUVMediaProxyManagerInterfaceImpl", "Fail to get ZUVMediaProxyManager.\n"));
}

TEST_F(EntryInterface, NeverAsksForTheManagerAgain) {
    managerToGive = nullptr;
    ZUVMediaProxyManagerInterface& interface = readyInterface();
    managerToGive.reset();

    EXPECT_EQ(requestZUVMediaProxy(), &interface);
    EXPECT_EQ(interface.createNewZUVMediaProxy("movie"), nullptr);
}

// The statics of the proxy interface.

TEST_F(EntryInterface, ProxyCreateGoesStraightToTheManager) {
    ZUVMediaProxyManager::getInstance();
    journal().clear();
    bus().onEveryCommand("create", [](const Strings& command) {
        virtualTime().after(milliseconds(50), [command] { bus().deliver({"created", "200", command[2], "object"}); });
    });

    std::shared_ptr<ZUVMediaProxyInterface> proxy = ZUVMediaProxyInterface::create();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "object");
    EXPECT_EQ(journal().lines().front(), managerLog(4000, "createNewProxyId", "Enter\n"));
}

TEST_F(EntryInterface, ProxyCreateMakesTheManagerWhenThereIsNone) {
    bus().onEveryCommand("create", [](const Strings& command) {
        virtualTime().after(milliseconds(50), [command] { bus().deliver({"created", "200", command[2], "object"}); });
    });

    ZUVMediaProxyInterface::create();

    EXPECT_EQ(journal().count(busLine("connection made")), 1u);
}

TEST_F(EntryInterface, UnknownIdentifierGivesNoObject) {
    readyInterface();

    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById("nobody"), nullptr);

    EXPECT_JOURNAL();
}

TEST_F(EntryInterface, LookUpOfAnObjectMakesTheManagerWhenThereIsNone) {
    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById("nobody"), nullptr);

    EXPECT_EQ(journal().count(busLine("connection made")), 1u);
}

TEST_F(EntryInterface, KnownIdentifierGivesTheRegisteredObject) {
    std::shared_ptr<ZUVMediaProxyInterface> proxy = readyInterface().createNewZUVMediaProxy("movie");
    journal().clear();

    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById("movie"), proxy);

    EXPECT_JOURNAL();
}

// The static of the manager interface.

TEST_F(EntryInterface, LivenessCheckGoesStraightToTheManager) {
    readyInterface();

    EXPECT_FALSE(ZUVMediaProxyManagerInterface::checkZUVServiceAlive());

    EXPECT_EQ(journal().lines().front(), managerLog(4000, "checkZUVServiceAlive", "Enter \n"));
    EXPECT_EQ(bus().commandCount("inspect"), 1);
    EXPECT_EQ(journal().lines().back(), managerLog(4000, "checkZUVServiceAlive", "wait  timeout.\n"));
}

TEST_F(EntryInterface, LivenessCheckReturnsTheManagersResult) {
    virtualTime().after(milliseconds(50), [] { bus().deliver({"status", "200", "session", ""}); });

    EXPECT_TRUE(ZUVMediaProxyManagerInterface::checkZUVServiceAlive());
}

TEST_F(EntryInterface, LivenessCheckMakesTheManagerWhenThereIsNone) {
    ZUVMediaProxyManagerInterface::checkZUVServiceAlive();

    EXPECT_EQ(journal().count(busLine("connection made")), 1u);
}

TEST_F(EntryInterface, ProxyIsDestroyedWholeThroughItsInterface) {
    // Longer than a string keeps in itself, so that the leak check sees a destructor that did not run.
    const std::string id(100, 'x');

    const std::unique_ptr<ZUVMediaProxyInterface> proxy = std::make_unique<ZUVMediaProxyObject>(id);

    EXPECT_EQ(proxy->id(), id);
}

} // namespace
} // namespace velmora::test
