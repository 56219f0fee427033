// The service comes when it is asked for, and only then.
#include "desktop/bus/bus_test.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

namespace velmora::bus_test {
namespace {

using Clock = std::chrono::steady_clock;

class StartService : public BusTest {
protected:
    /// The process of the service that told of its start in event number `index`.
    pid_t startedProcess(std::size_t index) {
        if (!m_participant.client.awaitEvents(index + 1))
            return -1;
        return std::stoi(m_participant.client.events()[index].at(1));
    }

    Participant m_participant;
};

bool isTold(const Participant& participant, const Event& event) {
    const auto events = participant.client.events();
    return std::find(events.begin(), events.end(), event) != events.end();
}

// How many services have told `participant` of their start.
std::ptrdiff_t startsToldTo(const Participant& participant) {
    const auto events = participant.client.events();
    return std::count_if(events.begin(), events.end(), [](const Event& event) { return event.at(0) == "service"; });
}

// Returns when `participant` has handled all that the bus sent it before.
void catchUp(Participant& participant) {
    const Event marker = {"marker", std::to_string(participant.client.events().size())};
    participant.access.publish(kEventTopic, marker);
    EXPECT_TRUE(eventually([&] { return isTold(participant, marker); }));
}

TEST_F(StartService, StartsItWhenItDoesNotRun) {
    ASSERT_TRUE(m_participant.join());

    EXPECT_EQ(m_participant.access.startService(), 0);

    const pid_t process = startedProcess(0);
    EXPECT_EQ(BusPeer().processOf(kServiceName), process);
}

TEST_F(StartService, LeavesARunningOneAlone) {
    ASSERT_TRUE(m_participant.join());
    ASSERT_EQ(m_participant.access.startService(), 0);
    const pid_t process = startedProcess(0);
    BusPeer peer;
    const auto before = processes();

    EXPECT_EQ(m_participant.access.startService(), 0);

    ASSERT_TRUE(m_participant.client.awaitEvents(2));
    EXPECT_EQ(m_participant.client.events()[1], Event{"pinged"});
    catchUp(m_participant); // with the answer to the ping
    EXPECT_EQ(peer.processOf(kServiceName), process);
    EXPECT_EQ(processes(), before);
}

TEST_F(StartService, StartsItAgainAfterItsDeath) {
    ASSERT_TRUE(m_participant.join());
    ASSERT_EQ(m_participant.access.startService(), 0);
    const pid_t first = startedProcess(0);
    ASSERT_TRUE(sendSignal(first, SIGKILL));
    BusPeer peer;
    ASSERT_TRUE(eventually([&] { return !peer.isOwned(kServiceName); }));

    EXPECT_EQ(m_participant.access.startService(), 0);

    EXPECT_NE(startedProcess(1), first);
}

TEST_F(StartService, ReturnsAtOnceThoughTheBusHangs) {
    ASSERT_TRUE(m_participant.join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));

    EXPECT_EQ(m_participant.access.startService(), 0);

    EXPECT_TRUE(m_participant.client.events().empty());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGCONT));
    EXPECT_GT(startedProcess(0), 0);
}

TEST_F(StartService, FromInsideACallback) {
    m_participant.client.whenEvent = [this](const Event& event) {
        if (event.at(0) == "unanswered")
            m_participant.access.startService();
    };
    ASSERT_TRUE(m_participant.join());

    m_participant.access.publish(kEventTopic, {"unanswered"});

    EXPECT_GT(startedProcess(1), 0);
}

TEST_F(StartService, ReplacesOneThatHangsAndReturnsWhileThatIsStillThere) {
    ASSERT_TRUE(m_participant.join());
    ASSERT_EQ(m_participant.access.startService(), 0);
    const pid_t hung = startedProcess(0);
    ASSERT_TRUE(sendSignal(hung, SIGSTOP));
    ASSERT_TRUE(eventually([&] { return isStopped(hung); }));

    EXPECT_EQ(m_participant.access.startService(), 0);
    EXPECT_TRUE(isStopped(hung)) << "a third of a second it has left";

    const pid_t another = startedProcess(1);
    EXPECT_NE(another, hung);
    EXPECT_FALSE(processes().contains(hung));
    EXPECT_EQ(BusPeer().processOf(kServiceName), another);
}

TEST_F(StartService, ReplacesOneThatHangsEachTime) {
    ASSERT_TRUE(m_participant.join());
    ASSERT_EQ(m_participant.access.startService(), 0);

    for (std::size_t round = 0; round < 3; ++round) {
        const pid_t hung = startedProcess(round);
        ASSERT_TRUE(sendSignal(hung, SIGSTOP));
        EXPECT_EQ(m_participant.access.startService(), 0);
        EXPECT_NE(startedProcess(round + 1), hung);
    }
}

TEST_F(StartService, AskedForTwiceAtOnceReplacesOneThatHangsOnce) {
    Participant other;
    ASSERT_TRUE(m_participant.join() && other.join());
    ASSERT_EQ(m_participant.access.startService(), 0);
    const pid_t hung = startedProcess(0);
    ASSERT_TRUE(sendSignal(hung, SIGSTOP));
    const auto before = processes();

    std::thread thread([&] { other.access.startService(); });
    EXPECT_EQ(m_participant.access.startService(), 0);
    EXPECT_EQ(m_participant.access.startService(), 0);
    thread.join();

    const pid_t another = startedProcess(1);
    // Whoever asks now meets a service that answers, and so do the two that asked before: none is killed.
    ASSERT_TRUE(eventually([&] { return startsToldTo(other) == 2; }));
    other.access.startService();
    m_participant.access.startService();
    ASSERT_TRUE(eventually([&] { return isTold(other, {"pinged"}); }));
    catchUp(other);
    catchUp(m_participant);
    EXPECT_EQ(processesStartedSince(before), std::set<pid_t>{another});
    EXPECT_EQ(startsToldTo(m_participant), 2);
}

// Each request joins the one under way: were it to begin anew, the 300 ms would never be over.
TEST_F(StartService, AskedForAgainAndAgainReplacesOneThatHangs) {
    ASSERT_TRUE(m_participant.join());
    ASSERT_EQ(m_participant.access.startService(), 0);
    const pid_t hung = startedProcess(0);
    ASSERT_TRUE(sendSignal(hung, SIGSTOP));

    EXPECT_TRUE(eventually([&] {
        EXPECT_EQ(m_participant.access.startService(), 0);
        return startsToldTo(m_participant) == 2;
    }));
}

/// A service that hangs before it takes its name, for as long as the bus is not told otherwise.
class UnfinishedStart : public StartService {
protected:
    void SetUp() override {
        ASSERT_GE(m_peer.setActivationVariable("ZUV_TEST_SERVICE", "hangs"), 0);
        ASSERT_TRUE(m_participant.join());
    }

    void letTheNextOneWork() { ASSERT_GE(m_peer.setActivationVariable("ZUV_TEST_SERVICE", "works"), 0); }

    BusPeer m_peer;
};

TEST_F(UnfinishedStart, IsGivenUpByTheBusAndTheNextOneMade) {
    Participant other;
    ASSERT_TRUE(other.join());
    EXPECT_EQ(m_participant.access.startService(), 0);
    const pid_t hung = startedProcess(0);
    EXPECT_TRUE(eventually([&] { return isStopped(hung); })) << "and the call has returned";
    EXPECT_EQ(other.access.startService(), 0);
    letTheNextOneWork();

    ASSERT_TRUE(eventually([&] { return !processes().contains(hung); }));
    EXPECT_EQ(m_participant.client.events(), (std::vector<Event>{{"hangs", std::to_string(hung)}}))
        << "the other's request was for the same one";
    catchUp(m_participant);
    EXPECT_EQ(m_participant.access.startService(), 0);

    ASSERT_TRUE(eventually([&] { return startsToldTo(m_participant) == 1; }));
}

TEST_F(UnfinishedStart, HoldsNeitherOtherCallsNorTheEndUp) {
    auto other = std::make_unique<Participant>();
    ASSERT_TRUE(other->join());
    ASSERT_EQ(other->access.startService(), 0);
    ASSERT_TRUE(eventually([hung = startedProcess(0)] { return isStopped(hung); }));

    const auto begin = Clock::now();
    EXPECT_EQ(other->access.startService(), 0);
    EXPECT_EQ(other->access.publish(kEventTopic, {"value"}), 0);
    Event value;
    EXPECT_EQ(other->readPatiently(kEventTopic, value), 0);
    other.reset();

    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1)) << "two seconds are what the service has";
}

TEST_F(StartService, UnderWayDoesNotHoldTheEndUp) {
    auto participant = std::make_unique<Participant>();
    ASSERT_TRUE(participant->join() && m_participant.join());
    ASSERT_EQ(participant->access.startService(), 0);
    ASSERT_TRUE(sendSignal(startedProcess(0), SIGSTOP));
    ASSERT_EQ(participant->access.startService(), 0);

    const auto begin = Clock::now();
    participant.reset();

    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
}

TEST_F(StartService, OfOneThatIsNotThereHarmsNobody) {
    const desktop::PrivateBus empty("/nonexistent");
    setenv("DBUS_SESSION_BUS_ADDRESS", empty.address().c_str(), 1);
    ASSERT_TRUE(m_participant.join());

    EXPECT_EQ(m_participant.access.startService(), 0);
    catchUp(m_participant);

    EXPECT_EQ(m_participant.access.startService(), 0);
    catchUp(m_participant);
    EXPECT_EQ(m_participant.client.stateChanges(), 0);
}

} // namespace
} // namespace velmora::bus_test
