// Each system call of the client fails once: what the operation then does, and that the next one works.
#include "client/operation_under_test.h"

#include <sys/mman.h>

#include <algorithm>

namespace velmora::test {
namespace {

// The calls that map the region.

struct FailingCheck {
    const char* name;
    Call call;
    std::vector<std::string> journal;
    int result;
    std::size_t openDescriptors;
    /// What happens to the earlier mapping.
    bool keepsMapping;
    char* newMapping;
};

std::string notAllocated() {
    return managerLog(4000, "checkZUVEventMemory", "Failed to allocate shared memory\n\n");
}

std::string notMapped() {
    return managerLog(4000, "checkZUVEventMemory", "Failed to mmap buffer shared memory\n\n");
}

const FailingCheck openFails{"Open", Call::OpenRegion, {opened(), notAllocated()}, -1, 0, true, nullptr};
const FailingCheck resizeFails{"Resize", Call::ResizeRegion, {opened(), resized(), notAllocated()}, -1, 1, true,
                               nullptr};
const FailingCheck mapGivesNull{
    "MapToNull", Call::MapRegionToNull, {opened(), resized(), mapped(), notMapped()}, -1, 1, false, nullptr};
const FailingCheck mapFails{"Map", Call::MapRegion, regionChecked(), 0, 0, false, static_cast<char*>(MAP_FAILED)};

class FailingRegionCall : public Creation, public ::testing::WithParamInterface<FailingCheck> {
protected:
    FailingRegionCall() { eventRegion().create(); }

    /// The service answers the first "create" and its repetition in the region.
    static void answerBothInMemory() {
        answerInMemory(1, "movie");
        answerInMemory(2, "movie");
    }
    static std::vector<std::string> entered() { return {managerLog(4000, "createNewZUVMediaProxySync", "Enter.\n")}; }
    static std::vector<std::string> restarted() {
        return {managerLog(1000, "createNewZUVMediaProxySync", "service not work,  restart zuv service.\n"),
                busLine("start service"), slept(seconds(1))};
    }
    /// What follows the checks.
    static std::vector<std::string> created(const std::string& session) {
        return joined({answeredSyncCreate(session, "movie"),
                       answeredSyncCreate(session, "movie"),
                       {managerLog(4000, "createNewZUVMediaProxySync", "id :%s\n", "movie"), objectMade("movie")}});
    }
    static std::vector<std::string> enteredForId() {
        return {managerLog(4000, "createNewZUVMediaProxySync", "Enter, id:%s\n", "movie")};
    }
    static std::vector<std::string> madeForId() { return {objectMade("movie")}; }
    /// A creation with nothing failing.
    void expectNextCreationToWork() {
        bus() = RecordingBus();
        answerBothInMemory();
        numberUuids();
        journal().clear();
        EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");
        EXPECT_JOURNAL_LINES(joined({entered(), regionChecked(), regionChecked(), created(sessionId(1))}));
    }
};

TEST_P(FailingRegionCall, InACheckFailsThatCheckOnly) {
    mapRegion();
    const char* const mapping = manager.m_eventMemory;
    failNext(GetParam().call);

    EXPECT_EQ(manager.checkZUVEventMemory(), GetParam().result);

    EXPECT_JOURNAL_LINES(GetParam().journal);
    EXPECT_EQ(manager.m_eventMemory, GetParam().keepsMapping ? mapping : GetParam().newMapping);
    EXPECT_EQ(eventRegion().openDescriptors(), GetParam().openDescriptors);
    journal().clear();
    EXPECT_EQ(manager.checkZUVEventMemory(), 0);
    EXPECT_JOURNAL_LINES(regionChecked());
    eventRegion().writeEvent({"status"});
    EXPECT_EQ(manager.readZUVEventMemory().at(0), "status");
}

TEST_P(FailingRegionCall, InTheFirstCheckOfACreationRestartsTheServiceUnlessItCountsAsMapped) {
    answerBothInMemory();
    failNth(GetParam().call, 1);

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_JOURNAL_LINES(
        joined({entered(), GetParam().journal, GetParam().result == -1 ? restarted() : std::vector<std::string>(),
                regionChecked(), created(sessionId(1))}));
    expectNextCreationToWork();
}

TEST_P(FailingRegionCall, InTheOnlyCheckOfACreationForAnIdentifierIsOfNoConsequence) {
    failNext(GetParam().call);

    EXPECT_EQ(manager.createNewZUVMediaProxySync("movie")->id(), "movie");

    EXPECT_JOURNAL_LINES(joined({enteredForId(), GetParam().journal, madeForId()}));
    EXPECT_TRUE(manager.m_syncMode);
    manager.m_proxyObjects.clear();
    journal().clear();
    EXPECT_EQ(manager.createNewZUVMediaProxySync("movie")->id(), "movie");
    EXPECT_JOURNAL_LINES(joined({enteredForId(), regionChecked(), madeForId()}));
}

INSTANTIATE_TEST_SUITE_P(Calls, FailingRegionCall, ::testing::Values(openFails, resizeFails, mapGivesNull, mapFails),
                         caseName);

// A mapping that failed counts as made: when it is the last one of a creation, the reads that follow would
// fault.
class FailingRepeatedCheck : public FailingRegionCall {};

TEST_P(FailingRepeatedCheck, OfACreationIsMadeAThirdTimeWithoutARestart) {
    answerBothInMemory();
    failNth(GetParam().call, 2);

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "movie");

    EXPECT_JOURNAL_LINES(joined(
        {entered(), regionChecked(), GetParam().journal, {slept(seconds(1))}, regionChecked(), created(sessionId(1))}));
    expectNextCreationToWork();
}

INSTANTIATE_TEST_SUITE_P(Calls, FailingRepeatedCheck, ::testing::Values(openFails, resizeFails, mapGivesNull),
                         caseName);

// Sleeps, in the synchronous creation that takes longest: three for the missing region and the restart, and five for
// each of the three commands.

class InterruptedSleep : public Creation, public ::testing::WithParamInterface<int> {};

TEST_P(InterruptedSleep, LastsItsFullTime) {
    failNth(Call::Sleep, GetParam());

    EXPECT_EQ(manager.createNewZUVMediaProxySync()->id(), "");

    EXPECT_TRUE(stopFailing(Call::Sleep));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + milliseconds(3550));
}

INSTANTIATE_TEST_SUITE_P(NthOfEighteen, InterruptedSleep, ::testing::Range(1, 19));

// The clock, in the playback commands.

class FailingRequestTime : public EveryOperation {
protected:
    static Outcome withoutTime(Outcome outcome) {
        for (std::string& line : outcome.journal)
            line = replaced(line, kRequestTimeAtBeginning, "-1.000000");
        return outcome;
    }
    static bool carriesTime(const std::string& line) { return line.find(kRequestTimeAtBeginning) != std::string::npos; }
};

TEST_P(FailingRequestTime, IsSentAsMinusOneAndChangesNothingElse) {
    forEachFailure([](const Operation& operation, int nth, const Outcome& expected) {
        EXPECT_EQ(std::ranges::count_if(expected.journal, carriesTime), 1);
        OwnClient client(GetParam().mode);
        operation.prepare(client);
        client.beginCall();
        failNth(Call::ReadClock, nth);

        const Outcome outcome = outcomeOf<std::exception>(operation, client);

        const bool failed = stopFailing(Call::ReadClock);
        EXPECT_EQ(failed, nth == 1);
        expectSame(outcome, failed ? withoutTime(expected) : expected);
        return failed;
    });
}

INSTANTIATE_TEST_SUITE_P(Playback, FailingRequestTime, ::testing::ValuesIn(playbackOperations()), caseName);

// The clock, in the search for an identifier. A reading that fails is -1 s, the others about 812 s: a start
// that could not be read lies long ago, a present that could not be read lies before everything.

struct FailingReading {
    const char* name;
    int nth;
    int commands;
    /// The attempt that restarts the service.
    int restartingAttempt;
    milliseconds duration;
};

class FailingClock : public Creation, public ::testing::WithParamInterface<FailingReading> {
protected:
    /// A search for an identifier that the service never announces.
    static std::vector<std::string> search(int commands, int restartingAttempt) {
        std::vector<std::string> lines = {managerLog(4000, "createNewProxyId", "Enter\n")};
        for (int nth = 1; nth <= commands; ++nth) {
            lines = joined({lines, attempt(nth)});
            if (nth == restartingAttempt)
                lines = joined({lines, {restarting(nth), busLine("start service"), waited(milliseconds(500))}});
            lines.push_back(nth == commands ? givingUp(nth) : waited(milliseconds(200)));
        }
        lines.push_back(managerLog(4000, "createNewProxyId", "id :%s\n", ""));
        return lines;
    }
};

TEST_P(FailingClock, ShiftsTheLimitsOfTheSearch) {
    letPublishesTakeAMillisecond();
    failNth(Call::ReadClock, GetParam().nth);

    EXPECT_EQ(manager.createNewProxyId(), "");

    EXPECT_TRUE(stopFailing(Call::ReadClock));
    EXPECT_JOURNAL_LINES(search(GetParam().commands, GetParam().restartingAttempt));
    EXPECT_EQ(virtualTime().now(), kTimeAtBeginning + GetParam().duration);
    EXPECT_FALSE(isHeld(manager.m_mutex));

    answerOverBus(GetParam().commands + 1, milliseconds(50), "movie");
    journal().clear();
    EXPECT_EQ(manager.createNewProxyId(), "movie");
    EXPECT_EQ(journal().linesOf("bus: ").size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Readings, FailingClock,
                         ::testing::Values(
                             // 812.005531 - (-1) > 0.2: the first attempt restarts; the total limit counts from there.
                             FailingReading{"OfTheStart", 1, 9, 1, milliseconds(2109)},
                             // The first attempt waits as it would have anyway.
                             FailingReading{"InTheFirstAttempt", 2, 10, 2, milliseconds(2310)},
                             // -1 - 812.004531 < 0.2: the restart comes one attempt later.
                             FailingReading{"InTheAttemptThatWouldRestart", 3, 11, 3, milliseconds(2511)},
                             // 812.206531 - (-1) > 2.0: the attempt that restarts gives up after the 500 ms.
                             FailingReading{"AfterTheRestart", 4, 2, 2, milliseconds(702)},
                             FailingReading{"InAnAttemptAfterTheRestart", 5, 10, 2, milliseconds(2310)},
                             // -1 - 812.206531 < 2.0: the search goes on for one more attempt.
                             FailingReading{"InTheAttemptThatWouldGiveUp", 12, 11, 2, milliseconds(2511)}),
                         caseName);

class FailingClockInSynchronousMode : public Creation {};

TEST_F(FailingClockInSynchronousMode, MeansNothingWhenTheAnswerIsThere) {
    enterSynchronousMode();
    answerInMemory(1, "movie");
    failNext(Call::ReadClock);

    EXPECT_EQ(manager.createNewProxyId(), "movie");

    EXPECT_EQ(bus().commandCount("create"), 1);
    EXPECT_EQ(journal().count(busLine("start service")), 0u);
}

} // namespace
} // namespace velmora::test
