// No bus, or none any more: clear failures at once, and a process that lives on.
#include "bus_test.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <memory>

namespace velmora::bus_test {
namespace {

using Clock = std::chrono::steady_clock;

// Twenty times over: were there anything to wait for, it would show, and a pause of a busy machine does not.
void expectAllOperationsFailAtOnce(ZUVModelAccess& access) {
    const auto begin = Clock::now();
    for (int round = 0; round < 20; ++round) {
        Event value = {"left over"};
        EXPECT_LT(access.publish(kEventTopic, {"event"}), 0);
        EXPECT_LT(access.read(kEventTopic, value), 0);
        EXPECT_LT(access.startService(), 0);
        EXPECT_TRUE(value.empty());
    }
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
}

class NoBus : public ::testing::TestWithParam<const char*> {};

TEST_P(NoBus, EveryOperationFails) {
    if (GetParam() == nullptr)
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
    else
        setenv("DBUS_SESSION_BUS_ADDRESS", GetParam(), 1);
    Participant participant;

    EXPECT_LT(participant.access.initialize(), 0);
    EXPECT_LT(participant.access.start(), 0);
    expectAllOperationsFailAtOnce(participant.access);
    EXPECT_EQ(participant.client.stateChanges(), 0);
}

INSTANTIATE_TEST_SUITE_P(Addresses, NoBus,
                         ::testing::Values(nullptr, "", "nonsense", "unix:path=/nonexistent/bus", "unix:"));

TEST(UninitializedConnection, EveryOperationFails) {
    Participant participant;

    EXPECT_LT(participant.access.start(), 0);
    expectAllOperationsFailAtOnce(participant.access);
}

using LostBus = BusTest;

TEST_F(LostBus, IsReportedAndEveryOperationFails) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));

    ASSERT_TRUE(participant.client.awaitStateChange());
    EXPECT_NE(participant.client.thread(), std::this_thread::get_id());
    expectAllOperationsFailAtOnce(participant.access);
}

TEST_F(LostBus, FailsAReadThatIsUnderWay) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const pid_t keeper = BusPeer().processOf(kKeeperName);
    ASSERT_GT(keeper, 0);
    ASSERT_TRUE(sendSignal(keeper, SIGSTOP));
    auto killer =
        std::async(std::launch::async, [this] { return sendSignal(m_bus.daemonProcess(), SIGKILL); });
    Event value;

    EXPECT_LT(participant.access.read(kEventTopic, value), 0);

    EXPECT_TRUE(killer.get());
    EXPECT_TRUE(sendSignal(keeper, SIGCONT));
    EXPECT_TRUE(participant.client.awaitStateChange());
}

TEST_F(LostBus, DeliversWhatArrivedBefore) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const pid_t daemon = m_bus.daemonProcess();
    participant.client.whenEvent = [daemon](const Event& event) {
        if (event.at(0) == "first") {
            EXPECT_TRUE(sendSignal(daemon, SIGKILL));
        }
    };
    Participant sender;
    ASSERT_TRUE(sender.join());

    sender.access.publish(kEventTopic, {"first"});

    ASSERT_TRUE(participant.client.awaitStateChange());
    EXPECT_EQ(participant.client.events(), std::vector<Event>{{"first"}});
    EXPECT_EQ(participant.client.stateChanges(), 1);
}

TEST_F(LostBus, LetsTheConnectionEnd) {
    auto participant = std::make_unique<Participant>();
    ASSERT_TRUE(participant->join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));
    ASSERT_TRUE(participant->client.awaitStateChange());

    participant.reset();
}

TEST_F(LostBus, HangingAtTheStartFailsWithinSeconds) {
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));
    Participant participant;

    const auto begin = Clock::now();
    EXPECT_LT(participant.access.initialize(), 0);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));

    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGCONT));
}

} // namespace
} // namespace velmora::bus_test
