// The "create" command, asynchronous and synchronous.
#include "client/client_test.h"

namespace velmora::test {
namespace {

class CreateRequest : public Creation {};

TEST_F(CreateRequest, IsLoggedAndPublishedWithNameAndSessionAlone) {
    watch(manager.m_mutex, "manager");

    manager.requestCreateRemoteObject("session");

    EXPECT_JOURNAL(asyncCreateLogged(), "bus: publish on tovik.sl2.vstr.videoplayer.zuv.command 11 "
                                        "[\"create\", \"\", \"session\", \"\", \"\", \"\", \"\", \"\", \"\", "
                                        "\"\", \"\"]");
}

TEST_F(CreateRequest, MakesTheConnectionWhenThereIsNone) {
    manager.m_modelAccess.reset();
    journal().clear();

    manager.requestCreateRemoteObject("session");

    EXPECT_JOURNAL(busLine("connection made"), busLine("initialize"), asyncCreateLogged(), createCommand("session"));
}

TEST_F(CreateRequest, SendsNothingWithoutAccess) {
    loseAccess();

    manager.requestCreateRemoteObject("session");

    EXPECT_JOURNAL_LINES(noAccess("requestCreateRemoteObject"));
}

TEST_F(CreateRequest, IgnoresThatThePublishFailed) {
    bus().result = -1;

    manager.requestCreateRemoteObject("session");

    EXPECT_EQ(bus().commandCount("create"), 1);
}

TEST_F(CreateRequest, InSynchronousModeIsTheSynchronousOne) {
    enterSynchronousMode();
    answerInMemory(1, "movie");

    manager.requestCreateRemoteObject("session");

    EXPECT_JOURNAL_LINES(answeredSyncCreate("session", "movie"));
}

TEST_F(CreateRequest, SynchronousOneHandsTheAnswerOver) {
    mapRegion();
    answerInMemory(1, "movie");

    EXPECT_EQ(manager.requestCreateRemoteObjectSync("session"), 0);

    EXPECT_JOURNAL_LINES(answeredSyncCreate("session", "movie"));
    EXPECT_EQ(manager.m_createdObjectIds, Strings{"movie"});
}

TEST_F(CreateRequest, SynchronousOneWaitsAlthoughThePublishFailed) {
    mapRegion();
    bus().result = -1;
    answerInMemory(1, "movie");

    EXPECT_EQ(manager.requestCreateRemoteObjectSync("session"), 0);
}

TEST_F(CreateRequest, SynchronousOneTimesOut) {
    mapRegion();

    EXPECT_EQ(manager.requestCreateRemoteObjectSync("session"), -1);

    EXPECT_JOURNAL_LINES(unansweredSyncCreate("session"));
    EXPECT_TRUE(manager.m_createdObjectIds.empty());
}

TEST_F(CreateRequest, SynchronousOneCompletesWithAFailureToo) {
    mapRegion();
    bus().onCommand("create", 1, answersInMemory("500", "movie"));

    EXPECT_EQ(manager.requestCreateRemoteObjectSync("session"), 0);

    EXPECT_TRUE(manager.m_createdObjectIds.empty());
    EXPECT_EQ(journal().lines().back(), managerLog(1000, "onZUVEvent", "Create Failed: %s\n", "session"));
}

TEST_F(CreateRequest, SynchronousOneFailsWithoutAccess) {
    loseAccess();

    EXPECT_EQ(manager.requestCreateRemoteObjectSync("session"), -1);

    EXPECT_JOURNAL_LINES(noAccess("requestCreateRemoteObjectSync"));
}

TEST_F(CreateRequest, InSynchronousModeWithoutAccessSendsNothing) {
    loseAccess();
    manager.m_syncMode = true;

    manager.requestCreateRemoteObject("session");

    EXPECT_JOURNAL_LINES(noAccess("requestCreateRemoteObjectSync"));
}

} // namespace
} // namespace velmora::test
