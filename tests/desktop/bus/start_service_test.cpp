// The service comes when it is asked for, and only then.
#include "bus_test.h"

#include <csignal>

namespace velmora::bus_test {
namespace {

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
    m_participant.access.publish(kEventTopic, {"marker"});

    ASSERT_TRUE(m_participant.client.awaitEvents(2));
    EXPECT_EQ(m_participant.client.events()[1], Event{"marker"});
    EXPECT_EQ(peer.processOf(kServiceName), process);
    EXPECT_EQ(processesStartedSince(before), std::set<pid_t>{});
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

} // namespace
} // namespace velmora::bus_test
