// The search for an identifier: one "create" an attempt, one restart, two limits.
#include "client/client_test.h"

#include <exception>
#include <new>
#include <thread>

namespace velmora::test {
namespace {

class NewProxyId : public Creation {
protected:
    static std::string entered() { return managerLog(4000, "createNewProxyId", "Enter\n"); }
    static std::string waitDone() { return managerLog(4000, "createNewProxyId", "wait done.\n"); }
    static std::string resultIs(const char* id) { return managerLog(4000, "createNewProxyId", "id :%s\n", id); }
};

TEST_F(NewProxyId, IsTheOneThatTheServiceAnnouncesInTime) {
    answerOverBus(1, milliseconds(50), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 attempt(1),
                                 {waited(milliseconds(200))},
                                 handedOver(attemptSession(1), "movie"),
                                 {waitDone(), resultIs("movie")}}));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(50));
}

TEST_F(NewProxyId, DrawsEachSessionBehindTheLineThatBegins) {
    answerOverBus(1, milliseconds(50), "movie");
    std::vector<int> drawnAtLines;
    recordingLog().onLine = [&](const std::string&) { drawnAtLines.push_back(uuidsDrawn()); };

    manager.createNewProxyId();

    ASSERT_GE(drawnAtLines.size(), 3u);
    EXPECT_EQ(drawnAtLines[0], 0); // "Enter"
    EXPECT_EQ(drawnAtLines[1], 1); // "enter"
    EXPECT_EQ(drawnAtLines[2], 2);
}

TEST_F(NewProxyId, HoldsTheLockExceptWhileItWaits) {
    answerOverBus(1, milliseconds(50), "movie");
    watch(manager.m_mutex, "manager");

    manager.createNewProxyId();

    const std::string lock = locked("manager");
    const std::string unlock = unlocked("manager");
    EXPECT_JOURNAL_LINES(joined({{entered(), lock},
                                 attempt(1),
                                 {waited(milliseconds(200)), unlock},
                                 // The bus's thread.
                                 {handedOver(attemptSession(1), "movie")[0], lock, notifiedAll(), unlock},
                                 {lock, waitDone(), resultIs("movie"), unlock}}));
}

TEST_F(NewProxyId, IsEmptyAfterTenUnansweredCommandsAndOneRestart) {
    letPublishesTakeAMillisecond();

    EXPECT_EQ(manager.createNewProxyId(), "");

    const std::string shortWait = waited(milliseconds(200));
    std::vector<std::string> expected =
        joined({{entered()},
                attempt(1),
                {shortWait},
                attempt(2),
                {restarting(2), busLine("start service"), waited(milliseconds(500)), shortWait}});
    for (int nth = 3; nth <= 9; ++nth)
        expected = joined({expected, attempt(nth), {shortWait}});
    expected = joined({expected, attempt(10), {givingUp(10), resultIs("")}});
    EXPECT_JOURNAL_LINES(expected);
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(2310));
}

TEST_F(NewProxyId, SendsItsLastCommandTwoSecondsAndATenthAfterTheRestart) {
    letPublishesTakeAMillisecond();
    nanoseconds restart{};
    nanoseconds last{};
    bus().onStartService = [&] { restart = virtualTime().now(); };
    bus().onEveryCommand("create", [&](const Strings&) { last = virtualTime().now(); });

    manager.createNewProxyId();

    EXPECT_EQ(std::chrono::round<milliseconds>(last - restart), milliseconds(2108)); // eight publishes of 1 ms
    EXPECT_EQ(virtualTime().now(), last);
}

// The first attempt is woken, so that one begins exactly at the restart's threshold and waits in vain; so is the third,
// so that one begins exactly at the total limit.
TEST_F(NewProxyId, LastsTwoSecondsAndSixTenthsAtMost) {
    virtualTime().set(nanoseconds(0));
    wakeWithStatus(milliseconds(100));
    wakeWithStatus(milliseconds(200));
    wakeWithStatus(milliseconds(1200));

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(virtualTime().now(), milliseconds(2600));
}

TEST_F(NewProxyId, SendsAndRestartsWithTheLockHeld) {
    bool held = true;
    bus().onPublish = [&](const std::string&, const Strings&) {
        virtualTime().advance(milliseconds(1));
        held = held && isHeld(manager.m_mutex);
    };
    bus().onStartService = [&] { held = held && isHeld(manager.m_mutex); };

    manager.createNewProxyId();

    EXPECT_EQ(journal().count(busLine("start service")), 1u);
    EXPECT_TRUE(held);
}

TEST_F(NewProxyId, CountsTheTotalLimitFromTheEndOfTheRestart) {
    letPublishesTakeAMillisecond();
    bus().onStartService = [] { virtualTime().advance(seconds(1)); };

    manager.createNewProxyId();

    EXPECT_EQ(bus().commandCount("create"), 10);
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(3310));
}

TEST_F(NewProxyId, RestartsInTheFirstAttemptWhenItsCommandTakesLong) {
    bus().onCommand("create", 1, [](const Strings&) { virtualTime().advance(milliseconds(201)); });
    answerOverBus(2, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_JOURNAL_LINES(
        joined({{entered()},
                attempt(1),
                {restarting(1), busLine("start service"), waited(milliseconds(500)), waited(milliseconds(200))},
                attempt(2),
                {waited(milliseconds(200))},
                handedOver(attemptSession(2), "movie"),
                {waitDone(), resultIs("movie")}}));
}

TEST_F(NewProxyId, BeginsToCountBehindItsUnusedSession) {
    // Two drawings would pass the threshold.
    duringUuid = [] { virtualTime().advance(milliseconds(150)); };
    answerOverBus(1, milliseconds(50), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

TEST_F(NewProxyId, CountsTheTimeThatItWaitsForTheLock) {
    beforeNextLock(manager.m_mutex, [] { virtualTime().advance(milliseconds(201)); });
    answerOverBus(2, milliseconds(50), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(journal().count(restarting(1)), 1u);
}

TEST_F(NewProxyId, DoesNotRestartAtExactlyTheThreshold) {
    virtualTime().set(nanoseconds(0));
    bus().onCommand("create", 1, [](const Strings& command) {
        virtualTime().set(milliseconds(200));
        virtualTime().after(milliseconds(50), [event = createdEvent(command[2], "movie")] { bus().deliver(event); });
    });

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

TEST_F(NewProxyId, RestartsJustBehindTheThreshold) {
    virtualTime().set(nanoseconds(0));
    bus().onCommand("create", 1, [](const Strings&) { virtualTime().set(nanoseconds(200'000'100)); });
    answerOverBus(2, milliseconds(0), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(journal().count(restarting(1)), 1u);
}

/// The third attempt's command ends at a moment that the restart's moment, a whole second, makes exact.
class TotalLimit : public NewProxyId {
protected:
    void restartAtOneSecondAndAttemptAt(nanoseconds third) {
        virtualTime().set(nanoseconds(0));
        bus().onCommand("create", 2, [](const Strings&) { virtualTime().set(seconds(1)); });
        bus().onCommand("create", 3, [third](const Strings&) { virtualTime().set(third); });
        answerOverBus(4, milliseconds(0), "movie");
    }
};

TEST_F(TotalLimit, IsNotReachedAtExactlyTwoSeconds) {
    restartAtOneSecondAndAttemptAt(seconds(3));

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(journal().count(givingUp(3)), 0u);
    EXPECT_EQ(journal().count(givingUp(4)), 1u);
}

TEST_F(TotalLimit, IsReachedJustBehindTwoSeconds) {
    restartAtOneSecondAndAttemptAt(seconds(3) + nanoseconds(100));

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(journal().count(givingUp(3)), 1u);
    EXPECT_EQ(bus().commandCount("create"), 3);
}

TEST_F(NewProxyId, IsNotGivenUpBeforeTheRestart) {
    // Three seconds gone in the first command: the restart sets the clock of the total limit anew.
    bus().onCommand("create", 1, [](const Strings&) { virtualTime().advance(seconds(3)); });
    answerOverBus(2, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(journal().count(restarting(1)), 1u);
}

TEST_F(NewProxyId, IsNotGivenUpInTheAttemptThatRestarts) {
    // The restart's wait ends three seconds late: only the next attempt looks at the time again.
    bus().onCommand("create", 1, [](const Strings&) { virtualTime().advance(milliseconds(201)); });
    bus().onStartService = [] { virtualTime().after(milliseconds(100), [] { virtualTime().advance(seconds(3)); }); };

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(journal().count(givingUp(1)), 0u);
    EXPECT_EQ(journal().count(givingUp(2)), 1u);
}

TEST_F(NewProxyId, TakesAStartThatTheClockDidNotTellForMinusOneSecond) {
    virtualTime().set(nanoseconds(0));
    failNext(Call::ReadClock);
    answerOverBus(2, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(journal().count(restarting(1)), 1u);
}

TEST_F(NewProxyId, TakesARestartThatTheClockDidNotTellForMinusOneSecond) {
    bus().onCommand("create", 1, [](const Strings&) { virtualTime().advance(milliseconds(201)); });
    failNth(Call::ReadClock, 3); // after the start and the first attempt, the restart

    EXPECT_EQ(manager.createNewProxyId(), "");

    // The restart seems to lie more than two seconds back.
    EXPECT_EQ(journal().count(givingUp(1)), 1u);
    EXPECT_EQ(journal().lines().back(), resultIs(""));
}

TEST_F(NewProxyId, NeverRestartsWhileTheClockCannotBeRead) {
    failEvery(Call::ReadClock);
    answerOverBus(20, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 20);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

TEST_F(NewProxyId, BeginsTheNextAttemptAtOnceWhenAnotherEventWakesIt) {
    wakeWithStatus(milliseconds(50));
    answerOverBus(2, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_JOURNAL_LINES(
        joined({{entered()},
                attempt(1),
                {waited(milliseconds(200)), managerLog(4000, "onZUVEvent", "zuv service alive: %s - %s\n", "other", ""),
                 notifiedAll()},
                attempt(2),
                {waited(milliseconds(200))},
                handedOver(attemptSession(2), "movie"),
                {waitDone(), resultIs("movie")}}));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(60));
}

TEST_F(NewProxyId, IsNotWokenByAFailure) {
    bus().onCommand("create", 1, [](const Strings& command) {
        virtualTime().after(milliseconds(50), [command] { bus().deliver({"created", "500", command[2], "movie"}); });
    });
    answerOverBus(2, milliseconds(600), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_GE(journal().count(waited(milliseconds(200))), 1u);
    EXPECT_EQ(journal().count(managerLog(1000, "onZUVEvent", "Create Failed: %s\n", attemptSession(1).c_str())), 1u);
}

TEST_F(NewProxyId, DoesNotCountAnAnswerAtTheDeadline) {
    // From zero, so that the second attempt lies exactly at the restart threshold and keeps the list.
    virtualTime().set(nanoseconds(0));
    answerOverBus(1, milliseconds(200), "movie");
    wakeWithStatus(milliseconds(230));

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 2);
}

TEST_F(NewProxyId, CountsAnAnswerJustBeforeTheDeadline) {
    answerOverBus(1, milliseconds(200) - nanoseconds(1), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
}

TEST_F(NewProxyId, TakesTheLastIdentifierWhicheverRequestItAnswers) {
    manager.m_createdObjectIds = {"first", "second"};
    wakeWithStatus(milliseconds(50));

    EXPECT_EQ(manager.createNewProxyId(), "second");

    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"first", "second"}));
}

TEST_F(NewProxyId, LeavesALateAnswerToTheNextCreation) {
    letPublishesTakeAMillisecond();
    ASSERT_EQ(manager.createNewProxyId(), "");
    bus().deliver(createdEvent("late", "movie"));
    wakeWithStatus(milliseconds(50));

    EXPECT_EQ(manager.createNewProxyId(), "movie");
}

TEST_F(NewProxyId, DoesNotTakeAnEarlierIdentifierWithoutAWakeUp) {
    manager.m_createdObjectIds = {"earlier"};
    letPublishesTakeAMillisecond();

    EXPECT_EQ(manager.createNewProxyId(), "");
}

TEST_F(NewProxyId, RestartForgetsEarlierIdentifiers) {
    manager.m_createdObjectIds = {"earlier"};
    letPublishesTakeAMillisecond();
    Strings createdAtRestart = {"not restarted"};
    bus().onStartService = [&] {
        createdAtRestart = manager.m_createdObjectIds;
        wakeWithStatus(milliseconds(550));
    };
    bus().onCommand("create", 3, [](const Strings&) { wakeWithStatus(milliseconds(10)); });
    answerOverBus(4, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(createdAtRestart, Strings{});
    EXPECT_EQ(bus().commandCount("create"), 4);
}

TEST_F(NewProxyId, ChecksNothingAfterTheWaitForTheRestart) {
    letPublishesTakeAMillisecond();
    // Announced while the 500 ms pass; found only when another event wakes a later attempt.
    bus().onStartService = [] {
        virtualTime().after(milliseconds(100), [] { bus().deliver(createdEvent("any", "movie")); });
    };
    bus().onCommand("create", 3, [](const Strings&) { wakeWithStatus(milliseconds(10)); });

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 3);
    EXPECT_EQ(journal().count(waited(milliseconds(500))), 1u);
}

TEST_F(NewProxyId, GivingUpForgetsWhatWasAnnouncedMeanwhile) {
    letPublishesTakeAMillisecond();
    bus().onStartService = [] {
        virtualTime().after(milliseconds(100), [] { bus().deliver(createdEvent("any", "movie")); });
    };

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_TRUE(manager.m_createdObjectIds.empty());
}

TEST_F(NewProxyId, LogsBeforeItForgets) {
    manager.m_createdObjectIds = {"earlier"};
    letPublishesTakeAMillisecond();
    bus().onStartService = [] {
        virtualTime().after(milliseconds(100), [] { bus().deliver(createdEvent("any", "movie")); });
    };
    std::vector<Strings> knownWhenLogged;
    recordingLog().onLine = [&](const std::string& line) {
        if (line == restarting(2) || line == givingUp(12))
            knownWhenLogged.push_back(manager.m_createdObjectIds);
    };

    manager.createNewProxyId();

    EXPECT_EQ(knownWhenLogged, (std::vector<Strings>{{"earlier"}, {"movie"}}));
}

TEST_F(NewProxyId, KeepsTheIdentifiersAfterSuccess) {
    answerOverBus(1, milliseconds(50), "movie");

    manager.createNewProxyId();

    EXPECT_EQ(manager.m_createdObjectIds, Strings{"movie"});
}

TEST_F(NewProxyId, TakesASpuriousWakeUpForAnother) {
    virtualTime().after(milliseconds(50), [] { virtualTime().wakeSpuriously(); });
    answerOverBus(2, milliseconds(10), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(60));
}

TEST_F(NewProxyId, CannotMissAnAnswerThatComesWhileItSends) {
    virtualTime().waitForRealNotifications();
    std::thread service;
    bus().onCommand("create", 1, [&](const Strings& command) {
        service = std::thread([event = createdEvent(command[2], "movie")] { bus().deliver(event); });
    });

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    service.join();
    EXPECT_EQ(bus().commandCount("create"), 1);
}

TEST_F(NewProxyId, IsEmptyWithoutAccess) {
    loseAccess();
    bus().onConnectionMade = [] { virtualTime().advance(milliseconds(1)); };

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(bus().commandCount("create"), 0);
    EXPECT_EQ(journal().count(managerLog(1000, "requestCreateRemoteObject", "No Access\n")), 10u);
    EXPECT_EQ(journal().count(managerLog(1000, "requestStartZUVService", "Cannot get access.\n")), 1u);
}

TEST_F(NewProxyId, WithoutAccessMayBeAnOlderOne) {
    loseAccess();
    manager.m_createdObjectIds = {"older"};
    wakeWithStatus(milliseconds(50));

    EXPECT_EQ(manager.createNewProxyId(), "older");
}

TEST_F(NewProxyId, ReleasesTheLockWhenThePublishThrows) {
    bus().onPublish = [](const std::string&, const Strings&) { throw std::bad_alloc(); };

    EXPECT_THROW(manager.createNewProxyId(), std::bad_alloc);

    EXPECT_FALSE(isHeld(manager.m_mutex));
}

// createNewProxyId in synchronous mode

class NewProxyIdInSynchronousMode : public NewProxyId {
protected:
    NewProxyIdInSynchronousMode() { enterSynchronousMode(); }
    /// The nth "create" is refused this long after it was sent.
    static void refuseInMemory(int nth, nanoseconds delay) {
        bus().onCommand("create", nth, [delay](const Strings& command) {
            virtualTime().after(delay, [command] { answersInMemory("500", "")(command); });
        });
    }
    static std::vector<std::string> unansweredAttempt(int nth) {
        return joined({{attemptEntered()}, unansweredSyncCreate(attemptSession(nth))});
    }
};

TEST_F(NewProxyIdInSynchronousMode, EndsWithTheAnswerOfItsOnlyCommand) {
    answerInMemory(1, "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_JOURNAL_LINES(joined({{entered(), attemptEntered()},
                                 answeredSyncCreate(attemptSession(1), "movie"),
                                 {waitDone(), resultIs("movie")}}));
}

TEST_F(NewProxyIdInSynchronousMode, DoesNotHoldTheLockAcrossTheRequest) {
    answerInMemory(1, "movie");
    watch(manager.m_mutex, "manager");

    manager.createNewProxyId();

    const std::string lock = locked("manager");
    const std::string unlock = unlocked("manager");
    std::vector<std::string> request = answeredSyncCreate(attemptSession(1), "movie");
    request.insert(request.end() - 1, lock);
    request.push_back(unlock);
    EXPECT_JOURNAL_LINES(
        joined({{entered(), lock, attemptEntered(), unlock}, request, {lock, waitDone(), resultIs("movie"), unlock}}));
}

TEST_F(NewProxyIdInSynchronousMode, CountsAnAnswerThatOnlyTheBusBrings) {
    // The request itself times out, which takes longer than the restart threshold.
    answerOverBus(1, milliseconds(120), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
    EXPECT_TRUE(journal().linesOf("wait").empty());
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(250));
}

TEST_F(NewProxyIdInSynchronousMode, CountsAnAnswerDuringTheWaitBehindTheRequest) {
    // 250 ms of the request and 500 ms of the restart lie before that wait.
    answerOverBus(1, milliseconds(800), "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(800));
}

TEST_F(NewProxyIdInSynchronousMode, LeavesWhatTheRestartsWaitBroughtToTheNextWakeUp) {
    answerOverBus(1, milliseconds(400), "movie");
    wakeWithStatus(milliseconds(500));

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(500));
}

TEST_F(NewProxyIdInSynchronousMode, MayBeginWithAnyAttempt) {
    manager.m_syncMode = false;
    virtualTime().after(milliseconds(50), [this] { manager.m_syncMode = true; });
    answerInMemory(2, "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(journal().count(asyncCreateLogged()), 1u);
    EXPECT_EQ(journal().count(syncCreateLogged()), 1u);
}

TEST_F(NewProxyIdInSynchronousMode, CountsAnAnswerFromTheMomentThatTheLockIsFree) {
    afterNextUnlock(manager.m_mutex, [] { bus().deliver(createdEvent("any", "movie")); });

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
}

TEST_F(NewProxyIdInSynchronousMode, TakesTheLastOfSeveral) {
    manager.m_createdObjectIds = {"earlier"};
    bus().onCommand("create", 1, [](const Strings& command) {
        bus().deliver(createdEvent("any", "other"));
        eventRegion().writeEvent(createdEvent(command[2], "movie"));
    });

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(manager.m_createdObjectIds, (Strings{"earlier", "other", "movie"}));
}

TEST_F(NewProxyIdInSynchronousMode, GivesUpAfterFiveUnansweredCommandsAndOneRestart) {
    EXPECT_EQ(manager.createNewProxyId(), "");

    const std::string shortWait = waited(milliseconds(200));
    EXPECT_JOURNAL_LINES(joined({{entered()},
                                 unansweredAttempt(1),
                                 {restarting(1), busLine("start service"), waited(milliseconds(500)), shortWait},
                                 unansweredAttempt(2),
                                 {shortWait},
                                 unansweredAttempt(3),
                                 {shortWait},
                                 unansweredAttempt(4),
                                 {shortWait},
                                 unansweredAttempt(5),
                                 {givingUp(5), resultIs("")}}));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(2550));
}

// The service refuses the first command exactly at the restart's threshold, and later ones such that a command fails
// exactly at the total limit.
TEST_F(NewProxyIdInSynchronousMode, LastsThreeSecondsAndATenthAtMost) {
    virtualTime().set(nanoseconds(0));
    refuseInMemory(1, milliseconds(200));
    for (const int nth : {3, 4, 5})
        refuseInMemory(nth, milliseconds(150));

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(journal().count(busLine("start service")), 1u);
    EXPECT_EQ(virtualTime().now(), milliseconds(3100));
}

TEST_F(NewProxyIdInSynchronousMode, DoesNotTakeAnEarlierIdentifierForTheAnswer) {
    manager.m_createdObjectIds = {"earlier"};

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(bus().commandCount("create"), 5);
}

TEST_F(NewProxyIdInSynchronousMode, GoesOnAfterAFailureAnswer) {
    bus().onCommand("create", 1, answersInMemory("500", ""));
    answerInMemory(2, "movie");

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 2);
    EXPECT_EQ(journal().count(waited(milliseconds(200))), 1u);
}

TEST_F(NewProxyIdInSynchronousMode, ReleasesTheLockWhenTheReaderThrows) {
    bus().onCommand("create", 1, [](const Strings&) { eventRegion().write(R"({"0":{}})"); });

    EXPECT_THROW(manager.createNewProxyId(), std::exception);

    EXPECT_FALSE(isHeld(manager.m_mutex));
}

TEST_F(NewProxyIdInSynchronousMode, IsEmptyWithoutAccess) {
    loseAccess();
    bus().onConnectionMade = [] { virtualTime().advance(milliseconds(1)); };

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_EQ(journal().count(managerLog(1000, "requestCreateRemoteObjectSync", "No Access\n")), 10u);
}

} // namespace
} // namespace velmora::test
