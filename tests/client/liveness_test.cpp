// The inspect command and the quick question whether the service is alive.
#include "client/client_test.h"

#include <exception>
#include <new>

namespace velmora::test {
namespace {

std::string inspectCommand(int nth) {
    return command({{0, "inspect"}, {2, sessionId(nth)}});
}

const std::string kSyncInspectLogged =
    managerLog(4000, "requestRemoteObjectInspectSync", "request RemoteObject inspect sync.\n");

Strings statusEvent(int nth) {
    return {"status", "200", sessionId(nth), ""};
}

/// What the manager makes of a "status" event.
std::vector<std::string> alive(const std::string& session) {
    return {managerLog(4000, "onZUVEvent", "zuv service alive: %s - %s\n", session.c_str(), ""), notifiedAll()};
}

std::vector<std::string> answeredSyncInspect(int nth) {
    return joined({neutralEventPublished(),
                   {kSyncInspectLogged, inspectCommand(nth)},
                   answeredWait(statusEvent(nth)),
                   alive(sessionId(nth))});
}

std::vector<std::string> unansweredSyncInspect(int nth) {
    return joined(
        {neutralEventPublished(), {kSyncInspectLogged, inspectCommand(nth)}, unansweredWait(sessionId(nth), "status")});
}

class Inspection : public ManagerTest {
protected:
    static void answerInMemory() {
        bus().onCommand("inspect", 1, [](const Strings&) { eventRegion().writeEvent(statusEvent(1)); });
    }
};

TEST_F(Inspection, IsPublishedWithNameAndSessionAlone) {
    watch(manager.m_mutex, "manager");

    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL("bus: publish on tovik.sl2.vstr.videoplayer.zuv.command 11 [\"inspect\", \"\", \"" + sessionId(1) +
                   "\", \"\", \"\", \"\", \"\", \"\", \"\", \"\", \"\"]");
}

TEST_F(Inspection, DrawsAFreshSessionForEachCall) {
    manager.requestRemoteObjectInspect();
    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL(inspectCommand(1), inspectCommand(2));
}

TEST_F(Inspection, MakesTheConnectionWhenThereIsNone) {
    manager.m_modelAccess.reset();
    journal().clear();

    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL(busLine("connection made"), busLine("initialize"), inspectCommand(1));
}

TEST_F(Inspection, IsNotSentWithoutAccess) {
    loseAccess();

    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL_LINES(noAccess("requestRemoteObjectInspect"));
    EXPECT_EQ(uuidsDrawn(), 0);
}

TEST_F(Inspection, SynchronousOnePublishesTheNeutralEventAndWaits) {
    mapRegion();
    answerInMemory();

    EXPECT_EQ(manager.requestRemoteObjectInspectSync(), 0);

    EXPECT_JOURNAL_LINES(answeredSyncInspect(1));
}

TEST_F(Inspection, IsSentOnceAlthoughThePublishFailed) {
    bus().result = -1;

    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL(inspectCommand(1));
}

TEST_F(Inspection, SynchronousOneWaitsAlthoughThePublishFailed) {
    mapRegion();
    bus().result = -1;
    answerInMemory();

    EXPECT_EQ(manager.requestRemoteObjectInspectSync(), 0);
}

TEST_F(Inspection, SynchronousOneTimesOut) {
    mapRegion();

    EXPECT_EQ(manager.requestRemoteObjectInspectSync(), -1);

    EXPECT_JOURNAL_LINES(unansweredSyncInspect(1));
}

TEST_F(Inspection, SynchronousOneFailsWithoutAccess) {
    mapRegion();
    loseAccess();

    EXPECT_EQ(manager.requestRemoteObjectInspectSync(), -1);

    EXPECT_JOURNAL_LINES(noAccess("requestRemoteObjectInspectSync"));
    EXPECT_EQ(uuidsDrawn(), 0);
}

TEST_F(Inspection, InSynchronousModeIsTheSynchronousOne) {
    enterSynchronousMode();
    answerInMemory();

    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL_LINES(answeredSyncInspect(1));
}

TEST_F(Inspection, InSynchronousModeWithoutAccessFailsAsTheSynchronousOne) {
    loseAccess();
    manager.m_syncMode = true;

    manager.requestRemoteObjectInspect();

    EXPECT_JOURNAL_LINES(noAccess("requestRemoteObjectInspectSync"));
}

// checkZUVServiceAlive

class Liveness : public Inspection {
protected:
    static void deliverAfter(nanoseconds delay, const Strings& event) {
        virtualTime().after(delay, [event] { bus().deliver(event); });
    }
    static std::string entered() { return managerLog(4000, "checkZUVServiceAlive", "Enter \n"); }
    static std::string waitDone() { return managerLog(4000, "checkZUVServiceAlive", "wait done.\n"); }
    static std::string waitTimeout() { return managerLog(4000, "checkZUVServiceAlive", "wait  timeout.\n"); }
};

TEST_F(Liveness, IsTrueWhenAStatusComesInTime) {
    deliverAfter(milliseconds(50), statusEvent(1));

    EXPECT_TRUE(manager.checkZUVServiceAlive());

    EXPECT_JOURNAL_LINES(
        joined({{entered(), inspectCommand(1), waited(milliseconds(200))}, alive(sessionId(1)), {waitDone()}}));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(50));
}

TEST_F(Liveness, IsFalseWhenNothingComes) {
    EXPECT_FALSE(manager.checkZUVServiceAlive());

    EXPECT_JOURNAL(entered(), inspectCommand(1), waited(milliseconds(200)), waitTimeout());
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(200));
}

TEST_F(Liveness, HoldsTheLockExceptWhileItWaits) {
    watch(manager.m_mutex, "manager");

    manager.checkZUVServiceAlive();

    EXPECT_JOURNAL(entered(), locked("manager"), inspectCommand(1), waited(milliseconds(200)), unlocked("manager"),
                   locked("manager"), waitTimeout(), unlocked("manager"));
}

TEST_F(Liveness, TakesTheDeadlineAfterTheRequest) {
    bus().onCommand("inspect", 1, [](const Strings&) { virtualTime().advance(seconds(1)); });

    EXPECT_FALSE(manager.checkZUVServiceAlive());

    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(1200));
}

TEST_F(Liveness, CountsASuccessfulCreation) {
    deliverAfter(milliseconds(50), {"created", "200", "other", "movie"});

    EXPECT_TRUE(manager.checkZUVServiceAlive());
}

TEST_F(Liveness, DoesNotCountAFailedCreation) {
    deliverAfter(milliseconds(50), {"created", "500", "other", "movie"});

    EXPECT_FALSE(manager.checkZUVServiceAlive());
}

TEST_F(Liveness, DoesNotCountAnEventForAnObject) {
    deliverAfter(milliseconds(50), {"started", "200", "other", "movie"});

    EXPECT_FALSE(manager.checkZUVServiceAlive());
}

TEST_F(Liveness, CountsASpuriousWakeUp) {
    virtualTime().after(milliseconds(50), [] { virtualTime().wakeSpuriously(); });

    EXPECT_TRUE(manager.checkZUVServiceAlive());

    EXPECT_EQ(journal().lines().back(), waitDone());
}

TEST_F(Liveness, CountsAStatusJustBeforeTheDeadline) {
    deliverAfter(milliseconds(200) - nanoseconds(1), statusEvent(1));

    EXPECT_TRUE(manager.checkZUVServiceAlive());
}

TEST_F(Liveness, DoesNotCountAStatusAtTheDeadline) {
    deliverAfter(milliseconds(200), statusEvent(1));

    EXPECT_FALSE(manager.checkZUVServiceAlive());

    EXPECT_EQ(journal().lines().back(), waitTimeout());
}

TEST_F(Liveness, DoesNotCountAnEarlierStatus) {
    bus().deliver(statusEvent(1));

    EXPECT_FALSE(manager.checkZUVServiceAlive());
}

TEST_F(Liveness, CannotMissAnAnswerThatComesWhileItSends) {
    virtualTime().waitForRealNotifications();
    std::thread service;
    bus().onCommand("inspect", 1,
                    [&](const Strings&) { service = std::thread([] { bus().deliver(statusEvent(1)); }); });

    EXPECT_TRUE(manager.checkZUVServiceAlive());

    service.join();
}

TEST_F(Liveness, IsFalseWithoutAccess) {
    loseAccess();

    EXPECT_FALSE(manager.checkZUVServiceAlive());

    EXPECT_JOURNAL_LINES(
        joined({{entered()}, noAccess("requestRemoteObjectInspect"), {waited(milliseconds(200)), waitTimeout()}}));
}

TEST_F(Liveness, ReleasesTheLockWhenThePublishThrows) {
    bus().onPublish = [](const std::string&, const Strings&) { throw std::bad_alloc(); };

    EXPECT_THROW(manager.checkZUVServiceAlive(), std::bad_alloc);

    EXPECT_FALSE(isHeld(manager.m_mutex));
}

TEST_F(Liveness, RestartsNothing) {
    manager.checkZUVServiceAlive();

    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

// checkZUVServiceAlive in synchronous mode

class LivenessInSynchronousMode : public Liveness {
protected:
    LivenessInSynchronousMode() { enterSynchronousMode(); }
};

TEST_F(LivenessInSynchronousMode, IsTrueWhenTheRequestIsAnswered) {
    answerInMemory();

    EXPECT_TRUE(manager.checkZUVServiceAlive());

    EXPECT_JOURNAL_LINES(joined({{entered()}, answeredSyncInspect(1), {waitDone()}}));
}

TEST_F(LivenessInSynchronousMode, DoesNotHoldTheLockAcrossTheRequest) {
    bool held = false;
    bus().onPublish = [&](const std::string&, const Strings&) { held = held || isHeld(manager.m_mutex); };

    manager.checkZUVServiceAlive();

    EXPECT_EQ(bus().commandCount("inspect"), 1);
    EXPECT_FALSE(held);
}

TEST_F(LivenessInSynchronousMode, WaitsAndEndsWithTheLock) {
    watch(manager.m_mutex, "manager");

    manager.checkZUVServiceAlive();

    const std::string lock = locked("manager");
    const std::string unlock = unlocked("manager");
    EXPECT_JOURNAL_LINES(joined({{entered(), lock, unlock},
                                 unansweredSyncInspect(1),
                                 {lock, waited(milliseconds(200)), unlock, lock, waitTimeout(), unlock}}));
}

TEST_F(LivenessInSynchronousMode, WaitsAnotherFifthOfASecondWithoutAnAnswer) {
    EXPECT_FALSE(manager.checkZUVServiceAlive());

    EXPECT_JOURNAL_LINES(joined({{entered()}, unansweredSyncInspect(1), {waited(milliseconds(200)), waitTimeout()}}));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(450));
}

TEST_F(LivenessInSynchronousMode, CountsAStatusOfTheBusDuringThatWait) {
    deliverAfter(milliseconds(300), statusEvent(1));

    EXPECT_TRUE(manager.checkZUVServiceAlive());

    EXPECT_EQ(journal().lines().back(), waitDone());
}

TEST_F(LivenessInSynchronousMode, IsFalseWithoutAccess) {
    loseAccess();

    EXPECT_FALSE(manager.checkZUVServiceAlive());

    EXPECT_JOURNAL_LINES(
        joined({{entered()}, noAccess("requestRemoteObjectInspectSync"), {waited(milliseconds(200)), waitTimeout()}}));
}

TEST_F(LivenessInSynchronousMode, ReleasesTheLockWhenTheReaderThrows) {
    eventRegion().write(R"({"0":{}})");

    EXPECT_THROW(manager.checkZUVServiceAlive(), std::exception);

    EXPECT_FALSE(isHeld(manager.m_mutex));
}

} // namespace
} // namespace velmora::test
