// The bounded wait by which a synchronous request learns that the service has answered.
#include "client/client_test.h"

#include <exception>

namespace velmora::test {
namespace {

const Strings kAnswer = {"started", "200", "ses-1", "movie"};

class CompletionWait : public ManagerTest {
protected:
    CompletionWait() {
        mapRegion();
        eventRegion().writeEvent({"unknown"});
    }
};

TEST_F(CompletionWait, EndsAtOnceWhenTheAnswerIsThereAlready) {
    eventRegion().writeEvent(kAnswer);

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);

    EXPECT_JOURNAL_LINES(joined({{waitEntered("ses-1", "started")},
                                 regionRead(kAnswer),
                                 {waitUsed(0), noObjectFor("started", "200", "movie")}}));
}

/// One poll after a sleep.
std::vector<std::string> poll(const Strings& event, const char* id, const char* name) {
    return joined({{slept(kPollInterval)}, regionRead(event), {waitPolled(id, name)}});
}

TEST_F(CompletionWait, SleepsFiveTimesAndGivesUpWithoutReplay) {
    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), -1);

    const Strings unknown = {"unknown"};
    const std::vector<std::string> onePoll = poll(unknown, "", "unknown");
    EXPECT_JOURNAL_LINES(joined({{waitEntered("ses-1", "started")},
                                 regionRead(unknown),
                                 onePoll,
                                 onePoll,
                                 onePoll,
                                 onePoll,
                                 onePoll,
                                 {waitTimedOut()}}));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(250));
}

class AnswerDuringSleep : public CompletionWait, public ::testing::WithParamInterface<int> {
protected:
    /// The answer is written in the middle of the nth sleep.
    void answerDuringSleep() {
        virtualTime().after(milliseconds(GetParam() * 50 - 25), [] { eventRegion().writeEvent(kAnswer); });
    }
};

class AnswerInTime : public AnswerDuringSleep {};

TEST_P(AnswerInTime, CompletesTheWait) {
    answerDuringSleep();

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);

    const std::vector<std::string> lines = journal().lines();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines[lines.size() - 3], waitPolled("ses-1", "started"));
    EXPECT_EQ(lines[lines.size() - 2], waitUsed(GetParam() * 50));
    EXPECT_EQ(lines[lines.size() - 1], noObjectFor("started", "200", "movie"));
    EXPECT_EQ(journal().count(slept(kPollInterval)), static_cast<std::size_t>(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Sleeps, AnswerInTime, ::testing::Values(1, 2, 3, 4));

class AnswerTooLate : public AnswerDuringSleep {};

TEST_P(AnswerTooLate, IsLoggedButNotCompared) {
    answerDuringSleep();

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), -1);

    const std::vector<std::string> lines = journal().lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], waitPolled("ses-1", "started"));
    EXPECT_EQ(lines[lines.size() - 1], waitTimedOut());
}

INSTANTIATE_TEST_SUITE_P(Sleeps, AnswerTooLate, ::testing::Values(5));

struct OtherEvent {
    const char* name;
    Strings event;
};

class WaitForAnother : public CompletionWait, public ::testing::WithParamInterface<OtherEvent> {};

TEST_P(WaitForAnother, NeverCompletes) {
    eventRegion().writeEvent(GetParam().event);

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), -1);

    EXPECT_EQ(journal().lines().back(), waitTimedOut());
    EXPECT_EQ(journal().count(noObjectFor("started", "200", "movie")), 0u);
}

INSTANTIATE_TEST_SUITE_P(Events, WaitForAnother,
                         ::testing::Values(OtherEvent{"OtherName", {"stopped", "200", "ses-1", "movie"}},
                                           OtherEvent{"OtherSession", {"started", "200", "ses-2", "movie"}},
                                           OtherEvent{"NameInOtherCase", {"Started", "200", "ses-1"}},
                                           OtherEvent{"SessionInOtherCase", {"started", "200", "SES-1"}},
                                           OtherEvent{"LongerName", {"started ", "200", "ses-1"}},
                                           OtherEvent{"LongerSession", {"started", "200", "ses-11"}},
                                           OtherEvent{"ShorterSession", {"started", "200", "ses-"}},
                                           OtherEvent{"NoSession", {"started"}}),
                         caseName);

TEST_F(CompletionWait, CompletesWhateverTheResultCode) {
    eventRegion().writeEvent({"started", "500", "ses-1", "movie"});

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);

    EXPECT_EQ(journal().lines().back(), noObjectFor("started", "500", "movie"));
}

TEST_F(CompletionWait, TakesAnUnmappedRegionForNoMatch) {
    manager.m_eventMemory = nullptr;

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), -1);

    const std::vector<std::string> onePoll = {slept(kPollInterval), regionNotMapped(), waitPolled("", "")};
    EXPECT_JOURNAL_LINES(joined({{waitEntered("ses-1", "started"), regionNotMapped()},
                                 onePoll,
                                 onePoll,
                                 onePoll,
                                 onePoll,
                                 onePoll,
                                 {waitTimedOut()}}));
}

TEST_F(CompletionWait, GoesOnWhileTheTextIsNotJson) {
    eventRegion().write("half a te");
    virtualTime().after(milliseconds(75), [] { eventRegion().writeEvent(kAnswer); });

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);

    EXPECT_EQ(journal().count(waitUsed(100)), 1u);
}

TEST_F(CompletionWait, MatchesAnEmptyListWithEmptyExpectations) {
    manager.m_eventMemory = nullptr;

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("", ""), 0);

    EXPECT_JOURNAL(waitEntered("", ""), regionNotMapped(), waitUsed(0), noObjectFor("", "", ""));
}

TEST_F(CompletionWait, ReplaysTheAnswerToItsObjectOnTheCallingThread) {
    const auto object = registeredObject("movie");
    object->m_state = State::Starting;
    eventRegion().writeEvent({"started", "200", "ses-1", "movie", "", "", "url"});

    manager.waitRequestRemoteObjectCompleted("ses-1", "started");

    EXPECT_EQ(journal().threadOf(calledBack("main", "movie", "url", "url")), std::this_thread::get_id());
}

TEST_F(CompletionWait, ReplaysOnlyTheEventThatMatched) {
    eventRegion().writeEvent(kAnswer);
    recordingLog().onLine = [](const std::string& line) {
        if (line == waitUsed(0))
            eventRegion().writeEvent({"stopped", "500", "ses-2", "other"});
    };

    manager.waitRequestRemoteObjectCompleted("ses-1", "started");

    EXPECT_EQ(journal().lines().back(), noObjectFor("started", "200", "movie"));
}

TEST_F(CompletionWait, DoesNotConsumeTheAnswer) {
    eventRegion().writeEvent(kAnswer);

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);
    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);
}

TEST_F(CompletionWait, NeedsNoLockToTimeOut) {
    const std::lock_guard lock(manager.m_mutex);

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), -1);
}

TEST_F(CompletionWait, TouchesNoLockAndWaitsForNoConditionWhilePolling) {
    watch(manager.m_mutex, "manager");

    manager.waitRequestRemoteObjectCompleted("ses-1", "started");

    EXPECT_EQ(journal().count(locked("manager")), 0u);
    EXPECT_TRUE(journal().linesOf("wait").empty());
}

TEST_F(CompletionWait, CountsItsLimitInsteadOfMeasuringIt) {
    // Reads that take ten seconds each do not shorten the wait.
    recordingLog().onLine = [](const std::string& line) {
        if (line == managerLog(4000, "readZUVEventMemory", "updateParameters\n"))
            virtualTime().advance(seconds(10));
    };
    virtualTime().after(seconds(35), [] { eventRegion().writeEvent(kAnswer); });

    EXPECT_EQ(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), 0);
}

TEST_F(CompletionWait, LetsTheReadersExceptionOut) {
    eventRegion().write(R"({"0":{}})");

    EXPECT_THROW(manager.waitRequestRemoteObjectCompleted("ses-1", "started"), std::exception);
}

} // namespace
} // namespace velmora::test
