// The manager's start, stop, seek and preload commands, asynchronous and synchronous.
#include "client/client_test.h"

#include <exception>
#include <limits>

namespace velmora::test {
namespace {

/// One pair of operations, with arguments.
struct Playback {
    const char* name;
    std::function<void(ZUVMediaProxyManager&)> asynchronous;
    std::function<int(ZUVMediaProxyManager&)> synchronous;
    const char* asynchronousOperation;
    const char* synchronousOperation;
    /// The synchronous operation's line before it sends.
    std::string logged;
    const char* answer;
    /// What the vector holds besides the session identifier and the request time.
    Fields fields;
};

const Playback playbacks[] = {
    {"Start",
     [](auto& manager) { manager.requestRemoteObjectStart("movie", "url", 25, "main_video"); },
     [](auto& manager) { return manager.requestRemoteObjectStartSync("movie", "url", 25, "main_video"); },
     "requestRemoteObjectStart",
     "requestRemoteObjectStartSync",
     managerLog(4000, "requestRemoteObjectStartSync", "request RemoteObject Start sync.\n"),
     "started",
     {{0, "start"}, {1, "main_video"}, {3, "movie"}, {6, "url"}, {9, "25"}}},
    {"Stop",
     [](auto& manager) { manager.requestRemoteObjectStop("movie", "advertisement"); },
     [](auto& manager) { return manager.requestRemoteObjectStopSync("movie", "advertisement"); },
     "requestRemoteObjectStop",
     "requestRemoteObjectStopSync",
     managerLog(4000, "requestRemoteObjectStopSync", "request RemoteObject Stop sync.\n"),
     "stopped",
     {{0, "stop"}, {1, "advertisement"}, {3, "movie"}}},
    {"Seek",
     [](auto& manager) { manager.requestRemoteObjectSeek("movie", 3.25, "text"); },
     [](auto& manager) { return manager.requestRemoteObjectSeekSync("movie", 3.25, "text"); },
     "requestRemoteObjectSeek",
     "requestRemoteObjectSeekSync",
     managerLog(4000, "requestRemoteObjectSeekSync", "request RemoteObject seek sync.\n"),
     "seeked",
     {{0, "seek"}, {3, "movie"}, {5, "3.250000"}, {6, "text"}}},
    {"Preload",
     [](auto& manager) { manager.requestRemoteObjectPreload("movie", 12.5, "one", "two", "three", "main_video"); },
     [](auto& manager) {
         return manager.requestRemoteObjectPreloadSync("movie", 12.5, "one", "two", "three", "main_video");
     },
     "requestRemoteObjectPreload",
     "requestRemoteObjectPreloadSync",
     managerLog(4000, "requestRemoteObjectPreloadSync", "request RemoteObject preload sync.\n"),
     "started",
     {{0, "preload"}, {1, "main_video"}, {3, "movie"}, {5, "12.500000"}, {6, "one"}, {7, "two"}, {8, "three"}}},
};

class PlaybackCommand : public ManagerTest, public ::testing::WithParamInterface<Playback> {
protected:
    void callAsynchronous() { GetParam().asynchronous(manager); }
    int callSynchronous() { return GetParam().synchronous(manager); }

    /// The command as the nth request of the test publishes it.
    static std::string sent(int nth, const char* requestTime = kRequestTimeAtBeginning) {
        Fields fields = GetParam().fields;
        fields.emplace_back(2, sessionId(nth));
        fields.emplace_back(4, requestTime);
        return command(fields);
    }
    static Strings answer(int nth) { return {GetParam().answer, "500", sessionId(nth), "nobody"}; }
    static std::string replayed() { return noObjectFor(GetParam().answer, "500", "nobody"); }
    static const char* commandName() { return GetParam().fields.front().second.c_str(); }
};

TEST_P(PlaybackCommand, IsPublishedAndNothingElse) {
    watch(manager.m_mutex, "manager");

    callAsynchronous();

    EXPECT_JOURNAL(sent(1));
}

TEST_P(PlaybackCommand, DrawsAFreshSessionForEachCall) {
    callAsynchronous();
    callAsynchronous();

    EXPECT_JOURNAL(sent(1), sent(2));
}

TEST_P(PlaybackCommand, BearsTheTimeOfItsRequest) {
    virtualTime().set(seconds(3) + microseconds(250));

    callAsynchronous();

    EXPECT_JOURNAL(sent(1, "3.000250"));
}

TEST_P(PlaybackCommand, IsSentWithANegativeTimeWhileTheClockCannotBeRead) {
    failEvery(Call::ReadClock);

    callAsynchronous();

    EXPECT_JOURNAL(sent(1, "-1.000000"));
}

TEST_P(PlaybackCommand, MakesTheConnectionWhenThereIsNone) {
    manager.m_modelAccess.reset();
    journal().clear();

    callAsynchronous();

    EXPECT_JOURNAL(busLine("connection made"), busLine("initialize"), sent(1));
}

TEST_P(PlaybackCommand, IsNotSentWithoutAccess) {
    loseAccess();

    callAsynchronous();

    EXPECT_JOURNAL_LINES(noAccess(GetParam().asynchronousOperation));
    EXPECT_EQ(uuidsDrawn(), 0);
}

TEST_P(PlaybackCommand, IgnoresThatThePublishFailed) {
    bus().result = -1;
    mapRegion();

    callAsynchronous();
    EXPECT_EQ(callSynchronous(), -1);

    EXPECT_EQ(bus().commandCount(commandName()), 2);
}

TEST_P(PlaybackCommand, SynchronousOneWaitsForItsAnswer) {
    mapRegion();
    bus().onCommand(commandName(), 1, [](const Strings&) { eventRegion().writeEvent(answer(1)); });

    EXPECT_EQ(callSynchronous(), 0);

    EXPECT_JOURNAL_LINES(joined({{GetParam().logged, sent(1)}, answeredWait(answer(1)), {replayed()}}));
}

TEST_P(PlaybackCommand, SynchronousOneWaitsAlthoughThePublishFailed) {
    mapRegion();
    bus().result = -1;
    bus().onCommand(commandName(), 1, [](const Strings&) { eventRegion().writeEvent(answer(1)); });

    EXPECT_EQ(callSynchronous(), 0);
}

TEST_P(PlaybackCommand, ReadsItsTimeBehindItsSession) {
    duringUuid = [] { virtualTime().advance(seconds(1)); };

    callAsynchronous();

    EXPECT_JOURNAL(sent(1, "813.004531"));
}

TEST_P(PlaybackCommand, SynchronousOneReadsItsTimeBehindItsLineAndItsSession) {
    mapRegion();
    recordingLog().onLine = [](const std::string& line) {
        if (line == GetParam().logged)
            virtualTime().advance(seconds(1));
    };
    duringUuid = [] { virtualTime().advance(seconds(1)); };

    callSynchronous();

    EXPECT_EQ(journal().count(sent(1, "814.004531")), 1u);
}

TEST_P(PlaybackCommand, SynchronousOneTimesOutAndSendsOnce) {
    mapRegion();

    EXPECT_EQ(callSynchronous(), -1);

    EXPECT_JOURNAL_LINES(joined({{GetParam().logged, sent(1)}, unansweredWait(sessionId(1), GetParam().answer)}));
}

TEST_P(PlaybackCommand, SynchronousOneIsNotCompletedByAnotherAnswer) {
    mapRegion();
    for (const char* other : {"started", "stopped", "seeked", "created", "status", "preloaded"}) {
        if (std::string(other) == GetParam().answer)
            continue;
        bus().onPublish = [other](const std::string&, const Strings& values) {
            eventRegion().writeEvent({other, "200", values.at(2), "movie"});
        };
        EXPECT_EQ(callSynchronous(), -1) << other;
    }
}

TEST_P(PlaybackCommand, SynchronousOneIsNotCompletedByTheAnswerToAnotherRequest) {
    mapRegion();
    bus().onCommand(commandName(), 1, [](const Strings&) { eventRegion().writeEvent(answer(2)); });

    EXPECT_EQ(callSynchronous(), -1);
}

TEST_P(PlaybackCommand, SynchronousOneMakesTheConnectionWhenThereIsNone) {
    mapRegion();
    manager.m_modelAccess.reset();
    journal().clear();

    callSynchronous();

    EXPECT_JOURNAL_LINES(joined({{busLine("connection made"), busLine("initialize"), GetParam().logged, sent(1)},
                                 unansweredWait(sessionId(1), GetParam().answer)}));
}

TEST_P(PlaybackCommand, SynchronousOneFailsWithoutAccess) {
    mapRegion();
    loseAccess();

    EXPECT_EQ(callSynchronous(), -1);

    EXPECT_JOURNAL_LINES(noAccess(GetParam().synchronousOperation));
    EXPECT_EQ(uuidsDrawn(), 0);
}

TEST_P(PlaybackCommand, SynchronousOneIsSentWithANegativeTimeWhileTheClockCannotBeRead) {
    mapRegion();
    failEvery(Call::ReadClock);

    callSynchronous();

    EXPECT_EQ(journal().count(sent(1, "-1.000000")), 1u);
}

TEST_P(PlaybackCommand, SynchronousOneLetsTheReadersExceptionOutWithEveryLockFree) {
    mapRegion();
    eventRegion().write(R"({"0":[]})");

    EXPECT_THROW(callSynchronous(), std::exception);
}

TEST_P(PlaybackCommand, SynchronousOneTakesNoLockToTimeOut) {
    mapRegion();
    watch(manager.m_mutex, "manager");

    callSynchronous();

    EXPECT_EQ(journal().count(locked("manager")), 0u);
}

TEST_P(PlaybackCommand, InSynchronousModeIsTheSynchronousOne) {
    enterSynchronousMode();
    bus().onCommand(commandName(), 1, [](const Strings&) { eventRegion().writeEvent(answer(1)); });

    callAsynchronous();

    EXPECT_JOURNAL_LINES(joined({{GetParam().logged, sent(1)}, answeredWait(answer(1)), {replayed()}}));
}

TEST_P(PlaybackCommand, InSynchronousModeBlocksUntilTheWaitGivesUp) {
    enterSynchronousMode();

    callAsynchronous();

    EXPECT_JOURNAL_LINES(joined({{GetParam().logged, sent(1)}, unansweredWait(sessionId(1), GetParam().answer)}));
}

TEST_P(PlaybackCommand, InSynchronousModeWithoutAccessFailsAsTheSynchronousOne) {
    loseAccess();
    manager.m_syncMode = true;

    callAsynchronous();

    EXPECT_JOURNAL_LINES(noAccess(GetParam().synchronousOperation));
}

INSTANTIATE_TEST_SUITE_P(Commands, PlaybackCommand, ::testing::ValuesIn(playbacks), caseName);

// How numbers become text.

struct OptionText {
    const char* name;
    int option;
    const char* text;
};

class StartOption : public ManagerTest, public ::testing::WithParamInterface<OptionText> {};

TEST_P(StartOption, IsSentAsDecimalText) {
    manager.requestRemoteObjectStart("movie", "url", GetParam().option, "main_video");

    EXPECT_JOURNAL(command({{0, "start"},
                            {1, "main_video"},
                            {2, sessionId(1)},
                            {3, "movie"},
                            {4, kRequestTimeAtBeginning},
                            {6, "url"},
                            {9, GetParam().text}}));
}

INSTANTIATE_TEST_SUITE_P(Values, StartOption,
                         ::testing::Values(OptionText{"Zero", 0, "0"}, OptionText{"Positive", 25, "25"},
                                           OptionText{"Negative", -7, "-7"},
                                           OptionText{"Greatest", std::numeric_limits<int>::max(), "2147483647"},
                                           OptionText{"Least", std::numeric_limits<int>::min(), "-2147483648"}),
                         caseName);

struct PositionText {
    const char* name;
    double position;
    std::string text;
};

class Position : public ManagerTest, public ::testing::WithParamInterface<PositionText> {};

TEST_P(Position, IsSentBySeekWithSixDigits) {
    manager.requestRemoteObjectSeek("movie", GetParam().position, "");

    EXPECT_JOURNAL(
        command({{0, "seek"}, {2, sessionId(1)}, {3, "movie"}, {4, kRequestTimeAtBeginning}, {5, GetParam().text}}));
}

TEST_P(Position, IsSentByPreloadWithSixDigits) {
    manager.requestRemoteObjectPreload("movie", GetParam().position, "", "", "", "");

    EXPECT_JOURNAL(
        command({{0, "preload"}, {2, sessionId(1)}, {3, "movie"}, {4, kRequestTimeAtBeginning}, {5, GetParam().text}}));
}

INSTANTIATE_TEST_SUITE_P(
    Values, Position,
    ::testing::Values(PositionText{"Zero", 0.0, "0.000000"}, PositionText{"Fraction", 12.5, "12.500000"},
                      PositionText{"Negative", -3.25, "-3.250000"}, PositionText{"Rounded", 0.0000005, "0.000000"},
                      PositionText{"RoundedUp", 1.9999999, "2.000000"},
                      PositionText{"Large", 1e15, "1000000000000000.000000"},
                      PositionText{"Greatest", std::numeric_limits<double>::max(),
                                   "1797693134862315708145274237317043567980705675258449965989174768031572"
                                   "6078002853876058955863276687817154045895351438246423432132688946418276"
                                   "8467546703537516986049910576551282076245490090389328944075868508455133"
                                   "9423045832369032229481658085593321233482747978262041447231687381771809"
                                   "19299881250404026184124858368.000000"},
                      PositionText{"Infinite", std::numeric_limits<double>::infinity(), "inf"}),
    caseName);

// Arguments are passed on unchecked.

class EmptyArguments : public ManagerTest {};

TEST_F(EmptyArguments, AreSentAsEmptyTexts) {
    manager.requestRemoteObjectStart("", "", 0, "");
    manager.requestRemoteObjectStop("", "");

    EXPECT_JOURNAL(command({{0, "start"}, {2, sessionId(1)}, {4, kRequestTimeAtBeginning}, {9, "0"}}),
                   command({{0, "stop"}, {2, sessionId(2)}, {4, kRequestTimeAtBeginning}}));
}

TEST_F(EmptyArguments, LeaveABareSessionWithoutMemoryForItsText) {
    failNext(Call::UuidBuffer);

    manager.requestRemoteObjectStop("movie", "main_video");

    EXPECT_EQ(journal().count(
                  command({{0, "stop"}, {1, "main_video"}, {2, "ses-"}, {3, "movie"}, {4, kRequestTimeAtBeginning}})),
              1u);
}

} // namespace
} // namespace velmora::test
