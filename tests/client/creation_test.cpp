// The four creation functions.
#include "client/client_test.h"

#include <exception>

namespace velmora::test {
namespace {

// createNewZUVMediaProxy()

class NewProxy : public Creation {};

TEST_F(NewProxy, BearsTheAnnouncedIdentifierAndIsRegistered) {
    answerOverBus(1, milliseconds(199), "movie");

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxy();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), proxy);
    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
    EXPECT_EQ(journal().lines().back(), objectMade("movie"));
}

TEST_F(NewProxy, IsRegisteredWithoutTheLock) {
    answerOverBus(1, milliseconds(50), "movie");
    watch(manager.m_mutex, "manager");

    manager.createNewZUVMediaProxy();

    EXPECT_EQ(journal().lines().back(), objectMade("movie"));
}

TEST_F(NewProxy, InSynchronousModeTakesOneCommandAndDoesNotHang) {
    enterSynchronousMode();
    answerInMemory(1, "movie");

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxy();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), proxy);
    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

TEST_F(NewProxy, WithoutAnswerHasAnEmptyIdentifierAndIsRegistered) {
    letPublishesTakeAMillisecond();

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxy();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "");
    EXPECT_EQ(manager.m_proxyObjects.at(""), proxy);
    EXPECT_EQ(journal().count(busLine("start service")), 1u);
    EXPECT_EQ(journal().count(givingUp(10)), 1u);
}

TEST_F(NewProxy, SecondWithoutAnswerIsReturnedButNotRegistered) {
    letPublishesTakeAMillisecond();
    const std::shared_ptr<ZUVMediaProxyObject> first = manager.createNewZUVMediaProxy();

    const std::shared_ptr<ZUVMediaProxyObject> second = manager.createNewZUVMediaProxy();

    ASSERT_NE(second, nullptr);
    EXPECT_NE(second, first);
    EXPECT_EQ(manager.m_proxyObjects.at(""), first);
}

// createNewZUVMediaProxy(id)

class NewProxyForIdentifier : public NewProxy {};

TEST_F(NewProxyForIdentifier, SendsNothing) {
    watch(manager.m_mutex, "manager");

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxy("movie");

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), proxy);
    EXPECT_JOURNAL(locked("manager"), unlocked("manager"), objectMade("movie"), locked("manager"), unlocked("manager"));
}

TEST_F(NewProxyForIdentifier, IsRegisteredOnlyWhenItHasTheLock) {
    const std::shared_ptr<ZUVMediaProxyObject> other = ZUVMediaProxyObject::create("movie");
    afterNextUnlock(manager.m_mutex,
                    [&] { beforeNextLock(manager.m_mutex, [&] { manager.m_proxyObjects.emplace("movie", other); }); });

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxy("movie");

    EXPECT_NE(proxy, other);
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), other);
}

TEST_F(NewProxyForIdentifier, ReplacesAnEarlierOne) {
    const std::shared_ptr<ZUVMediaProxyObject> first = manager.createNewZUVMediaProxy("movie");
    journal().clear();

    const std::shared_ptr<ZUVMediaProxyObject> second = manager.createNewZUVMediaProxy("movie");

    EXPECT_NE(second, first);
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), second);
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_JOURNAL(managerLog(4000, "removeProxyObjectFromCache", "find in cache and remove proxy, id:%s\n", "movie"),
                   objectMade("movie"));
}

TEST_F(NewProxyForIdentifier, DrawsNoSessionAndStaysAsynchronous) {
    manager.createNewZUVMediaProxy("movie");

    EXPECT_EQ(uuidsDrawn(), 0);
    EXPECT_FALSE(manager.m_syncMode);
}

// createNewZUVMediaProxySync(id)

class NewSyncProxyForIdentifier : public NewProxy {
protected:
    static std::string entered() { return managerLog(4000, "createNewZUVMediaProxySync", "Enter, id:%s\n", "movie"); }
};

TEST_F(NewSyncProxyForIdentifier, MapsTheRegionAndSendsNothing) {
    eventRegion().create();

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxySync("movie");

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), proxy);
    EXPECT_TRUE(manager.m_syncMode);
    EXPECT_JOURNAL_LINES(joined({{entered()}, regionChecked(), {objectMade("movie")}}));
}

TEST_F(NewSyncProxyForIdentifier, IgnoresThatTheRegionIsMissing) {
    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxySync("movie");

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_JOURNAL_LINES(joined({{entered()}, regionMissing(), {objectMade("movie")}}));
}

TEST_F(NewSyncProxyForIdentifier, EntersSynchronousModeBeforeItMaps) {
    bool syncModeAtOpen = false;
    eventRegion().onOpen = [&] { syncModeAtOpen = manager.m_syncMode; };

    manager.createNewZUVMediaProxySync("movie");

    EXPECT_TRUE(syncModeAtOpen);
}

TEST_F(NewSyncProxyForIdentifier, ReplacesAnEarlierOneUnderTheLock) {
    const std::shared_ptr<ZUVMediaProxyObject> first = manager.createNewZUVMediaProxySync("movie");
    journal().clear();
    watch(manager.m_mutex, "manager");

    const std::shared_ptr<ZUVMediaProxyObject> second = manager.createNewZUVMediaProxySync("movie");

    EXPECT_NE(second, first);
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), second);
    EXPECT_JOURNAL_LINES(
        joined({{entered()},
                regionMissing(),
                {locked("manager"),
                 managerLog(4000, "removeProxyObjectFromCache", "find in cache and remove proxy, id:%s\n", "movie"),
                 unlocked("manager"), objectMade("movie"), locked("manager"), unlocked("manager")}}));
}

TEST_F(NewSyncProxyForIdentifier, LogsBeforeItEntersSynchronousMode) {
    bool syncModeWhenLogged = true;
    recordingLog().onLine = [&](const std::string& line) {
        if (line == entered())
            syncModeWhenLogged = manager.m_syncMode;
    };

    manager.createNewZUVMediaProxySync("movie");

    EXPECT_FALSE(syncModeWhenLogged);
}

TEST_F(NewSyncProxyForIdentifier, MakesLaterRequestsSynchronous) {
    eventRegion().create();
    manager.createNewZUVMediaProxySync("movie");

    manager.requestCreateRemoteObject("session");

    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(250));
}

// createNewZUVMediaProxySync()

class NewSyncProxy : public NewProxy {
protected:
    NewSyncProxy() {
        eventRegion().create();
        // No answer stays but the one that a test gives.
        bus().onPublish = [](const std::string&, const Strings&) { eventRegion().write(""); };
    }
    static std::string entered() { return managerLog(4000, "createNewZUVMediaProxySync", "Enter.\n"); }
    static std::string serviceNotWorking() {
        return managerLog(1000, "createNewZUVMediaProxySync", "service not work,  restart zuv service.\n");
    }
    static std::string restarting(const std::string& session) {
        return managerLog(1000, "createNewZUVMediaProxySync", "Wait response timeout for id:%s, restart zuv service.\n",
                          session.c_str());
    }
    /// The identifiers that are known when this line is logged.
    Strings knownAt(const std::string& line) {
        Strings known = {"never logged"};
        recordingLog().onLine = [&](const std::string& logged) {
            if (logged == line)
                known = manager.m_createdObjectIds;
        };
        manager.createNewZUVMediaProxySync();
        return known;
    }
    static std::vector<std::string> finished(const char* id) {
        return {managerLog(4000, "createNewZUVMediaProxySync", "id :%s\n", id), objectMade(id)};
    }
    static constexpr microseconds kLongSleep = seconds(1);
    static constexpr microseconds kRestartSleep = milliseconds(800);
};

TEST_F(NewSyncProxy, SendsASecondCommandOfTheSameSessionAfterASuccess) {
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxySync();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "movie");
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), proxy);
    EXPECT_TRUE(manager.m_syncMode);
    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"movie", "movie"}));
    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionChecked(),
                                 regionChecked(),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, TakesTheLastIdentifier) {
    answerInMemory(1, "first");
    answerInMemory(2, "second");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "second");
}

TEST_F(NewSyncProxy, RestartsAfterAMissingFirstAnswer) {
    manager.m_createdObjectIds = {"earlier"};
    answerInMemory(2, "movie");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_EQ(manager.m_createdObjectIds, Strings{"movie"});
    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionChecked(),
                                 regionChecked(),
                                 unansweredSyncCreate(sessionId(1)),
                                 {restarting(sessionId(1)), busLine("start service"), slept(kRestartSleep)},
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, AsksOnceMoreWithANewSessionAfterAMissingSecondAnswer) {
    answerInMemory(1, "movie");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionChecked(),
                                 regionChecked(),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 unansweredSyncCreate(sessionId(1)),
                                 unansweredSyncCreate(sessionId(2)),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, TakesTheThirdAnswer) {
    answerInMemory(3, "movie");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionChecked(),
                                 regionChecked(),
                                 unansweredSyncCreate(sessionId(1)),
                                 {restarting(sessionId(1)), busLine("start service"), slept(kRestartSleep)},
                                 unansweredSyncCreate(sessionId(1)),
                                 answeredSyncCreate(sessionId(2), "movie"),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, WithoutAnyAnswerHasAnEmptyIdentifierAndIsRegistered) {
    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxySync();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(manager.m_proxyObjects.at(""), proxy);
    EXPECT_EQ(bus().commandCount("create"), 3);
    EXPECT_EQ(journal().count(busLine("start service")), 1u);
    EXPECT_EQ(journal().lines().back(), objectMade(""));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(3 * 250 + 800));
}

TEST_F(NewSyncProxy, TakesAnOlderIdentifierAfterAFailureAnswer) {
    manager.m_createdObjectIds = {"older"};
    bus().onEveryCommand("create", answersInMemory("500", "movie"));

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "older");

    EXPECT_EQ(bus().commandCount("create"), 2);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

TEST_F(NewSyncProxy, RestartsWhenTheRegionIsMissing) {
    eventRegion().remove();
    manager.m_createdObjectIds = {"earlier"};
    Strings createdAtRestart = {"not restarted"};
    bus().onStartService = [&] {
        createdAtRestart = manager.m_createdObjectIds;
        eventRegion().create();
    };
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_EQ(createdAtRestart, Strings{});
    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionMissing(),
                                 {serviceNotWorking(), busLine("start service"), slept(kLongSleep)},
                                 regionChecked(),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, LogsThatTheRegionIsMissingBeforeItForgets) {
    eventRegion().remove();
    manager.m_createdObjectIds = {"earlier"};

    EXPECT_EQ(knownAt(serviceNotWorking()), Strings{"earlier"});
}

TEST_F(NewSyncProxy, ForgetsBeforeItLogsThatTheAnswerIsMissing) {
    manager.m_createdObjectIds = {"earlier"};

    EXPECT_EQ(knownAt(restarting(sessionId(1))), Strings{});
}

TEST_F(NewSyncProxy, WaitsASecondTimeForTheRegionAndChecksOnceMore) {
    eventRegion().remove();
    virtualTime().after(milliseconds(1500), [] { eventRegion().create(); });
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionMissing(),
                                 {serviceNotWorking(), busLine("start service"), slept(kLongSleep)},
                                 regionMissing(),
                                 {slept(kLongSleep)},
                                 regionChecked(),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, DrawsItsSessionBehindTheWaitsForTheRegion) {
    eventRegion().remove();
    int drawn = -1;
    virtualTime().after(milliseconds(1500), [&] { drawn = uuidsDrawn(); });

    manager.createNewZUVMediaProxySync();

    EXPECT_EQ(drawn, 0);
}

TEST_F(NewSyncProxy, WaitsForARegionThatIsLostBetweenTheChecks) {
    int opens = 0;
    eventRegion().onOpen = [&] {
        if (++opens == 2)
            eventRegion().remove();
    };
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 regionChecked(),
                                 regionMissing(),
                                 {slept(kLongSleep)},
                                 regionMissing(),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 answeredSyncCreate(sessionId(1), "movie"),
                                 finished("movie")}));
}

TEST_F(NewSyncProxy, AtWorstSendsThreeCommandsAndRestartsTwice) {
    eventRegion().remove();

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxySync();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "");
    EXPECT_EQ(journal().linesOf("shm_open").size(), 3u);
    EXPECT_EQ(bus().commandCount("create"), 3);
    EXPECT_EQ(journal().count(busLine("start service")), 2u);
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(1000 + 1000 + 800 + 3 * 250));
}

TEST_F(NewSyncProxy, IsMadeWithoutAccessToo) {
    loseAccess();
    manager.m_createdObjectIds = {"forgotten"};

    const std::shared_ptr<ZUVMediaProxyObject> proxy = manager.createNewZUVMediaProxySync();

    ASSERT_NE(proxy, nullptr);
    EXPECT_EQ(proxy->id(), "");
    EXPECT_EQ(journal().count(managerLog(1000, "requestCreateRemoteObjectSync", "No Access\n")), 3u);
    EXPECT_EQ(journal().count(managerLog(1000, "requestStartZUVService", "Cannot get access.\n")), 1u);
}

TEST_F(NewSyncProxy, TakesTheLockOnlyInTheReplays) {
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");
    watch(manager.m_mutex, "manager");

    manager.createNewZUVMediaProxySync();

    EXPECT_EQ(journal().count(locked("manager")), 2u);
    EXPECT_EQ(journal().lines().back(), objectMade("movie"));
}

TEST_F(NewSyncProxy, UnderATakenIdentifierIsReturnedButNotRegistered) {
    const auto first = registeredObject("movie");
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");

    const std::shared_ptr<ZUVMediaProxyObject> second = manager.createNewZUVMediaProxySync();

    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->id(), "movie");
    EXPECT_NE(second, first);
    EXPECT_EQ(manager.m_proxyObjects.at("movie"), first);
}

TEST_F(NewSyncProxy, EntersSynchronousModeBeforeItMaps) {
    std::vector<bool> syncModeAtOpen;
    eventRegion().onOpen = [&] { syncModeAtOpen.push_back(manager.m_syncMode); };

    manager.createNewZUVMediaProxySync();

    EXPECT_EQ(syncModeAtOpen, (std::vector<bool>{true, true}));
}

TEST_F(NewSyncProxy, LogsBeforeItEntersSynchronousMode) {
    bool syncModeWhenLogged = true;
    recordingLog().onLine = [&](const std::string& line) {
        if (line == entered())
            syncModeWhenLogged = manager.m_syncMode;
    };

    manager.createNewZUVMediaProxySync();

    EXPECT_FALSE(syncModeWhenLogged);
}

TEST_F(NewSyncProxy, MakesLaterRequestsSynchronous) {
    manager.createNewZUVMediaProxySync();
    const nanoseconds before = virtualTime().now();

    manager.requestCreateRemoteObject("session");

    EXPECT_EQ(virtualTime().now(), before + milliseconds(250));
}

TEST_F(NewSyncProxy, DoesNotClearTheListAfterSuccess) {
    manager.m_createdObjectIds = {"earlier"};
    answerInMemory(1, "movie");
    answerInMemory(2, "movie");

    manager.createNewZUVMediaProxySync();

    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"earlier", "movie", "movie"}));
}

TEST_F(NewSyncProxy, LeavesTheLockFreeWhenTheReaderThrows) {
    bus().onCommand("create", 1, [](const Strings&) { eventRegion().write(R"({"3":[]})"); });

    EXPECT_THROW(manager.createNewZUVMediaProxySync(), std::exception);

    EXPECT_FALSE(isHeld(manager.m_mutex));
}

} // namespace
} // namespace velmora::test
