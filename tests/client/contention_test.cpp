// Threads that contend for the library's state, synchronised by the library alone. Each test checks what must be true
// in any order of execution; ThreadSanitizer also checks that they are synchronised.
#include "client/contention_platform.h"
#include "zuv_media_proxy_manager.h"
#include "zuv_media_proxy_object.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <thread>

namespace velmora::test {
namespace {

using Proxy = std::shared_ptr<ZUVMediaProxyInterface>;

constexpr int kRounds = 100;
constexpr std::size_t kRoundCount = kRounds;

/// Too long for the buffer inside a std::string, so that a torn value shows.
std::string longText(const std::string& what, int number) {
    return what + " " + std::to_string(number) + std::string(static_cast<std::size_t>(100 + number % 50), '.');
}

std::set<std::string> longTexts(const std::string& what) {
    std::set<std::string> texts;
    for (int i = 0; i < kRounds; ++i)
        texts.insert(longText(what, i));
    return texts;
}

std::set<std::string> sessionsOf(const std::vector<Strings>& commands) {
    std::set<std::string> sessions;
    for (const Strings& command : commands)
        sessions.insert(command[2]);
    return sessions;
}

class Contention : public ::testing::Test {
protected:
    Contention() : manager(*ZUVMediaProxyManager::getInstance()) {
        manager.setZUVCallback(recordMainNotification);
        manager.setZUVAdCallback(recordAdNotification);
    }

    Proxy startedProxy(const std::string& id) {
        Proxy proxy = manager.createNewZUVMediaProxy(id);
        proxy->start("first", 1);
        return proxy;
    }

    ZUVMediaProxyManager& manager;
};

// One proxy

TEST_F(Contention, OneProxySendsEveryCommandOfEveryThreadWhileItsEventsArrive) {
    const Proxy proxy = startedProxy("movie");
    const auto deliverEvents = [](int i) {
        deliver(startedEvent("movie", longText("local", i)));
        deliver(startedEvent("movie", longText("local ad", i), "advertisement"));
        deliver(plainEvent("seeked", "movie"));
    };
    const auto use = [&](int i) {
        proxy->start(longText("url", i), 1);
        proxy->seek(i, longText("seek", i));
        proxy->preload(i, longText("preload", i), "", "");
        proxy->startAd(longText("ad", i), 1);
        proxy->preloadAd(longText("ad preload", i), "");
        proxy->localURL();
        proxy->localAdURL();
        proxy->getState();
        proxy->getAdState();
    };

    const std::vector<ThreadRecord> records = runRounds(kRounds, deliverEvents, {use, use, use});

    const ThreadRecord all = total(records);
    EXPECT_EQ(all.commandsNamed("start"), 6 * kRoundCount);
    EXPECT_EQ(all.commandsNamed("seek"), 3 * kRoundCount); // the state is never Idle
    EXPECT_EQ(all.commandsNamed("preload"), 6 * kRoundCount);
    EXPECT_EQ(all.neutralEvents, 6 * kRoundCount);
    EXPECT_EQ(sessionsOf(all.commands).size(), all.commands.size());
    for (std::size_t thread = 1; thread < records.size(); ++thread)
        EXPECT_EQ(records[thread].commands.back()[6], longText("ad preload", kRounds - 1));
    EXPECT_NE(proxy->getState(), ZUVMediaProxyState::Idle);
    EXPECT_EQ(proxy->getAdState(), ZUVMediaProxyState::Starting);
}

// A thread that does one thing only is synchronised with the others by the lock of that one thing, or not at all.
TEST_F(Contention, OneProxyIsReadByThreadsThatDoNothingElseWhileItsEventsArrive) {
    const Proxy proxy = startedProxy("movie");
    proxy->startAd("url", 1);
    const std::set<std::string> whole = longTexts("local");
    const auto deliverEvents = [](int i) {
        deliver(startedEvent("movie", longText("local", i)));
        deliver(startedEvent("movie", longText("local", i), "advertisement"));
    };
    const auto expectWhole = [&](const std::string& url) {
        if (!url.empty() && !whole.contains(url))
            ownRecord().failures.push_back("torn: " + url);
    };
    const auto changeStates = [&](int) {
        proxy->start("url", 1);
        proxy->startAd("url", 1);
    };

    const ThreadRecord all = total(runRounds(
        kRounds, deliverEvents,
        {changeStates, [&](int) { expectWhole(proxy->localURL()); }, [&](int) { expectWhole(proxy->localAdURL()); },
         [&](int) { EXPECT_NE(proxy->getState(), ZUVMediaProxyState::Idle); },
         [&](int) { EXPECT_EQ(proxy->getAdState(), ZUVMediaProxyState::Starting); }}));

    EXPECT_EQ(all.failures, Strings());
    EXPECT_EQ(proxy->localURL(), longText("local", kRounds - 1));
    EXPECT_EQ(proxy->localAdURL(), longText("local", kRounds - 1));
}

TEST_F(Contention, OneProxySendsEverySeekOfThreadsThatOnlySeek) {
    const Proxy proxy = startedProxy("movie");
    const auto seek = [&](int i) { proxy->seek(i, ""); };

    const ThreadRecord all =
        total(runRounds(kRounds, [](int) { deliver(plainEvent("seeked", "movie")); }, {seek, seek}));

    EXPECT_EQ(all.commandsNamed("seek"), 2 * kRoundCount);
}

TEST_F(Contention, OneProxyIsNotifiedOfWholeURLsAndOnceForEachStartAtMost) {
    const Proxy proxy = manager.createNewZUVMediaProxy("movie");
    const std::set<std::string> whole = longTexts("local");
    const auto deliverEvents = [](int i) { deliver(startedEvent("movie", longText("local", i))); };
    const auto use = [&](int) {
        proxy->start("url", 1);
        if (const std::string url = proxy->localURL(); !url.empty() && !whole.contains(url))
            ownRecord().failures.push_back("torn: " + url);
        proxy->stop();
    };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {use, use}));

    EXPECT_LE(all.notificationsOf("main", "url"), 2 * kRoundCount);
    for (const Strings& call : all.notifications)
        EXPECT_TRUE(whole.contains(call[3])) << call[3];
    EXPECT_EQ(all.failures, Strings());
    EXPECT_EQ(all.commandsNamed("stop"), 2 * kRoundCount);
    proxy->stop();
    EXPECT_EQ(proxy->getState(), ZUVMediaProxyState::Idle);
    EXPECT_EQ(proxy->localURL(), "");
}

TEST_F(Contention, OneProxyTakesEveryDefinitionAsNotificationOrAsToldTooEarly) {
    const Proxy proxy = manager.createNewZUVMediaProxy("movie");
    const auto deliverEvents = [](int i) { deliver(definitionEvent("movie", longText("definitions", i))); };
    const auto use = [&](int) {
        proxy->start("url", 1);
        proxy->stop();
    };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {use, use}));

    EXPECT_EQ(all.notificationsOf("main", "definitions") + all.failuresWith("Invalid state:"), kRoundCount);
}

// Several proxies

TEST_F(Contention, ProxiesOfDifferentThreadsAreNotifiedExactlyOnceForEachStart) {
    const std::vector<std::string> ids = {"first", "second", "third"};
    for (const std::string& id : ids)
        manager.createNewZUVMediaProxy(id);
    Counter finished;
    const auto deliverEvents = [&] {
        while (finished.count() < static_cast<int>(ids.size()))
            for (const std::string& id : ids)
                deliver(startedEvent(id, longText(id, 0)));
    };
    const auto play = [&](const std::string& id) {
        const Proxy proxy = ZUVMediaProxyInterface::getObjectById(id);
        for (int i = 0; i < kRounds; ++i) {
            proxy->start("url", 1);
            while (proxy->getState() != ZUVMediaProxyState::Started)
                std::this_thread::yield();
            proxy->stop();
        }
        finished.add();
    };

    const ThreadRecord all =
        total(runTogether(deliverEvents, {[&] { play(ids[0]); }, [&] { play(ids[1]); }, [&] { play(ids[2]); }}));

    for (const std::string& id : ids)
        EXPECT_EQ(std::ranges::count(all.notifications, Strings{"main", id, "url", longText(id, 0)}), kRounds) << id;
    EXPECT_EQ(all.notifications.size(), ids.size() * kRoundCount);
    EXPECT_EQ(all.commandsNamed("stop"), ids.size() * kRoundCount);
}

TEST_F(Contention, CallbacksFindOtherProxiesWhileProxiesAreCreatedAndPlayed) {
    const Proxy movie = startedProxy("movie");
    const Proxy other = manager.createNewZUVMediaProxy("other");
    Counter found;
    platform().duringCallback = [&](const std::string&) {
        if (ZUVMediaProxyInterface::getObjectById("other") == other)
            found.add();
    };
    const auto deliverEvents = [&](int) {
        deliver(startedEvent("movie", "url", "advertisement")); // notified under the proxy's lock
        deliver(definitionEvent("movie", "definitions"));       // and without
    };
    const auto create = [&](int i) { manager.createNewZUVMediaProxy(longText("new", i)); };
    const auto play = [&](int) { movie->startAd("url", 1); };
    movie->startAd("url", 1);

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {create, play}));

    EXPECT_EQ(all.notificationsOf("ad", "url"), kRoundCount);
    EXPECT_EQ(all.notificationsOf("main", "definitions"), kRoundCount);
    EXPECT_EQ(found.count(), 2 * kRounds);
    for (int i = 0; i < kRounds; ++i)
        EXPECT_NE(manager.findObjectById(longText("new", i)), nullptr);
}

// A proxy's callback may look a proxy up with the proxy's lock held. So nobody may take a proxy's lock with
// the registry's held, not even that of a proxy which is being registered: ThreadSanitizer tells of the two
// orders.
TEST_F(Contention, AProxyCreatedForAnIdentifierMayLookItselfUpInItsCallback) {
    Counter found;
    platform().duringCallback = [&](const std::string& id) {
        if (ZUVMediaProxyInterface::getObjectById(id) != nullptr)
            found.add();
    };
    const Proxy proxy = startedProxy("movie");

    runTogether([] { deliver(startedEvent("movie", "url")); }, {});

    EXPECT_EQ(found.count(), 1);
}

// Creation

TEST_F(Contention, AProxyThatIsReplacedLosesNoEventUnnoticedAndEnds) {
    std::vector<std::weak_ptr<ZUVMediaProxyObject>> replaced;
    std::shared_ptr<ZUVMediaProxyObject> last = manager.createNewZUVMediaProxy("movie");
    // The look-up of an unknown identifier never holds a reference to the proxy.
    const auto deliverEvents = [](int i) {
        deliver(definitionEvent("movie", longText("definitions", i)));
        deliver(definitionEvent("a stranger", ""));
    };
    const auto replace = [&](int) {
        replaced.push_back(last);
        last = manager.createNewZUVMediaProxy("movie");
    };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {replace}));

    EXPECT_EQ(all.failuresWith("Invalid state:0") + all.failuresWith("unable to find object"), 2 * kRoundCount);
    EXPECT_EQ(manager.findObjectById("movie"), last);
    for (const auto& proxy : replaced)
        EXPECT_TRUE(proxy.expired());
}

TEST_F(Contention, AnnouncementsReachTheCreationThatWaitsWhateverElseArrives) {
    const Proxy movie = startedProxy("movie");
    Counter commands;
    Counter finished;
    std::set<std::string> ids;
    platform().onCommand = [&](const Strings&) { commands.add(); };
    const auto deliverEvents = [&] {
        for (int answered = 0; finished.count() == 0;) {
            if (commands.count() == answered) {
                std::this_thread::yield();
                continue;
            }
            deliver(definitionEvent("movie", "definitions"));
            deliver(createdEvent(longText("new", answered++)));
        }
    };
    const auto create = [&] {
        for (int i = 0; i < kRounds; ++i)
            ids.insert(manager.createNewZUVMediaProxy()->id());
        finished.add();
    };

    const ThreadRecord all = total(runTogether(deliverEvents, {create}));

    EXPECT_EQ(ids.size(), kRoundCount);
    for (const std::string& id : ids)
        EXPECT_NE(manager.findObjectById(id), nullptr) << id;
    EXPECT_FALSE(ids.contains(""));
    EXPECT_GE(all.commandsNamed("create"), kRoundCount); // more where a thread was kept waiting for 200 ms
    EXPECT_EQ(sessionsOf(all.commands).size(), all.commands.size());
}

// Set-up and liveness

TEST_F(Contention, EveryNotificationReachesOneOfTheCallbacksThatAreBeingExchanged) {
    const Proxy movie = startedProxy("movie");
    movie->startAd("url", 1);
    const auto deliverEvents = [](int) {
        deliver(definitionEvent("movie", "definitions"));
        deliver(startedEvent("movie", "url", "advertisement"));
    };
    const auto exchange = [&](int) {
        manager.setZUVCallback(recordAdNotification);
        manager.setZUVAdCallback(recordMainNotification);
        manager.setZUVCallback(recordMainNotification);
        manager.setZUVAdCallback(recordAdNotification);
    };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {exchange}));

    EXPECT_EQ(all.notificationsOf("main", "definitions") + all.notificationsOf("ad", "definitions"), kRoundCount);
    EXPECT_EQ(all.notificationsOf("main", "url") + all.notificationsOf("ad", "url"), kRoundCount);
}

TEST_F(Contention, TheServiceIsFoundAliveByEveryThreadThatAsksWhileEventsArrive) {
    const Proxy movie = startedProxy("movie");
    Counter alive;
    Counter asked;
    const auto deliverEvents = [&] {
        while (alive.count() < 2 * kRounds) {
            deliver(plainEvent("status", ""));
            deliver(definitionEvent("movie", "definitions"));
        }
    };
    // A thread that was kept waiting for 200 ms asks again.
    const auto ask = [&] {
        for (int i = 0; i < kRounds; ++i) {
            do
                asked.add();
            while (!manager.checkZUVServiceAlive());
            alive.add();
        }
    };

    const ThreadRecord all = total(runTogether(deliverEvents, {ask, ask}));

    EXPECT_EQ(all.commandsNamed("inspect"), static_cast<std::size_t>(asked.count()));
    EXPECT_EQ(all.failures, Strings());
}

// A preload's answer, from two sides

TEST_F(Contention, APreloadsAnswerReadAndDeliveredAtOnceIsNotifiedOnce) {
    for (int i = 0; i < kRounds; ++i) {
        const std::string id = longText("movie", i);
        const Proxy proxy = manager.createNewZUVMediaProxy(id);
        Counter reading;
        platform().onRead = [&](Strings& values) {
            values = startedEvent(id, "url");
            reading.add(); // from here on, either side may come first
        };

        const ThreadRecord all = total(runTogether(
            [&] {
                reading.await(1);
                deliver(startedEvent(id, "url"));
            },
            {[&] { proxy->start("", 0); }}));

        ASSERT_EQ(all.notifications, (std::vector<Strings>{{"main", id, "url", "url"}}));
        ASSERT_EQ(proxy->getState(), ZUVMediaProxyState::Started);
    }
}

TEST_F(Contention, APreloadsAnswerDeliveredAroundItsStartIsNotifiedWithTheStateThatBelongsToIt) {
    for (int i = 0; i < kRounds; ++i) {
        const std::string id = longText("movie", i);
        const Proxy proxy = manager.createNewZUVMediaProxy(id);
        platform().onRead = [&](Strings& values) { values = startedEvent(id, "url"); };

        const std::vector<ThreadRecord> records =
            runTogether([&] { deliver(startedEvent(id, "url")); }, {[&] { proxy->start("", 0); }});

        // Delivered before the start, the answer calls nobody and leaves the state as the start sets it.
        const std::size_t delivered = records[0].notificationsOf("main", "url");
        const std::size_t started = records[1].notificationsOf("main", "url");
        if (records[1].notificationsOf("main", "definitions") == 1) {
            ASSERT_EQ(started, 1u);
            ASSERT_EQ(proxy->getState(), delivered == 0 ? ZUVMediaProxyState::Starting : ZUVMediaProxyState::Started);
        } else {
            ASSERT_EQ(delivered + started, 1u);
            ASSERT_EQ(proxy->getState(), ZUVMediaProxyState::Started);
        }
    }
}

TEST_F(Contention, DefinitionsThatArriveBetweenTheNotificationsOfAPreloadAreTold) {
    const Proxy proxy = manager.createNewZUVMediaProxy("movie");
    deliver(startedEvent("movie", "url"));
    deliver(definitionEvent("movie", longText("early", 0)));
    Counter urlTold;
    Counter delivered;
    platform().duringCallback = [&](const std::string&) {
        if (ownRecord().notifications.back()[2] != "url")
            return;
        urlTold.add();
        delivered.await(1);
    };

    const std::vector<ThreadRecord> records = runTogether(
        [&] {
            urlTold.await(1);
            deliver(definitionEvent("movie", longText("late", 0)));
            delivered.add();
        },
        {[&] { proxy->start("", 0); }});

    EXPECT_EQ(records[1].notifications, (std::vector<Strings>{{"main", "movie", "url", "url"},
                                                              {"main", "movie", "definitions", longText("late", 0)}}));
}

TEST_F(Contention, DefinitionsReadAndDeliveredAtOnceAreToldFromBothSides) {
    const Proxy proxy = startedProxy("movie");
    platform().onRead = [](Strings& values) { values = definitionEvent("movie", longText("read", 0)); };
    const auto deliverEvents = [](int i) { deliver(definitionEvent("movie", longText("delivered", i))); };
    const auto read = [&](int) { proxy->start("", 0); };

    const std::vector<ThreadRecord> records = runRounds(kRounds, deliverEvents, {read});

    EXPECT_EQ(records[0].notificationsOf("main", "definitions"), kRoundCount);
    EXPECT_EQ(records[1].notificationsOf("main", "definitions"), kRoundCount);
}

// Synchronous mode

class SynchronousContention : public Contention {
protected:
    SynchronousContention() {
        leaveInMemory({"unknown"});
        platform().onCommand = [](const Strings& command) {
            const std::string& session = command[2];
            const std::string& id = command[3];
            if (command[0] == "start" || command[0] == "preload")
                leaveInMemory(startedEvent(id, "url", command[1], session));
            else if (command[0] == "stop" || command[0] == "seek")
                leaveInMemory(plainEvent(command[0] == "stop" ? "stopped" : "seeked", id, session));
            else
                leaveInMemory(plainEvent("status", "", session));
        };
    }
};

TEST_F(SynchronousContention, EveryRequestIsAnsweredAndNotifiedOnceWhileTheSameAnswersArrive) {
    const Proxy movie = manager.createNewZUVMediaProxySync("movie");
    const auto deliverEvents = [](int) {
        deliver(startedEvent("movie", "url"));
        deliver(plainEvent("stopped", "movie"));
        deliver(plainEvent("status", ""));
    };
    const auto play = [&](int i) {
        movie->start("remote", 1);
        movie->seek(i, "");
        movie->stop();
        EXPECT_TRUE(manager.checkZUVServiceAlive());
    };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {play}));

    EXPECT_EQ(all.notificationsOf("main", "url"), kRoundCount);
    EXPECT_EQ(all.failures, Strings()); // no "Task timeout"
    for (const char* name : {"start", "seek", "stop", "inspect"})
        EXPECT_EQ(all.commandsNamed(name), kRoundCount) << name;
}

TEST_F(SynchronousContention, AnAdvertisementIsNotifiedOnceForEachAnswerFromEitherSide) {
    const Proxy movie = manager.createNewZUVMediaProxySync("movie");
    movie->startAd("remote", 1);
    const auto deliverEvents = [](int) { deliver(startedEvent("movie", "url", "advertisement")); };
    const auto play = [&](int) { movie->startAd("remote", 1); };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {play}));

    EXPECT_EQ(all.notificationsOf("ad", "url"), 2 * kRoundCount);
    EXPECT_EQ(movie->getAdState(), ZUVMediaProxyState::Starting);
    EXPECT_EQ(movie->getState(), ZUVMediaProxyState::Started);
}

TEST_F(SynchronousContention, AThreadThatMeetsTheSwitchOfModeSendsEveryCommand) {
    const Proxy movie = startedProxy("movie");
    const auto deliverEvents = [](int) { deliver(definitionEvent("movie", "definitions")); };
    const auto play = [&](int i) { movie->seek(i, ""); };
    const auto create = [&](int) { manager.createNewZUVMediaProxySync("other"); };

    const ThreadRecord all = total(runRounds(kRounds, deliverEvents, {play, create}));

    EXPECT_EQ(all.commandsNamed("seek"), kRoundCount);
    // Synchronous already, and the memory not mapped yet.
    EXPECT_EQ(all.failuresWith("Task timeout"), all.failures.size());
    EXPECT_NE(manager.findObjectById("other"), nullptr);
}

} // namespace
} // namespace velmora::test
