// The current value of a topic, beyond what every platform must do with it: kept by a process of its own,
// which may hang or die, and read in bounded time from any thread.
#include "desktop/bus/bus_test.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <future>

namespace velmora::bus_test {
namespace {

using Read = BusTest;
using Clock = std::chrono::steady_clock;

// What the fastest of five failing reads takes: a busy machine adds to some of them, but hardly to all.
Clock::duration fastestFailure(ZUVModelAccess& access) {
    Clock::duration fastest = Clock::duration::max();
    for (int i = 0; i < 5; ++i) {
        Event value = {"left over"};
        const auto begin = Clock::now();
        EXPECT_LT(access.read(kEventTopic, value), 0);
        fastest = std::min(fastest, Clock::now() - begin);
        EXPECT_TRUE(value.empty());
    }
    return fastest;
}

// 100 ms are promised.
void expectToFailInTime(ZUVModelAccess& access) {
    EXPECT_LT(fastestFailure(access), std::chrono::milliseconds(150));
}

TEST_F(Read, FindsNothingOnTopicsOfOthers) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish("some.other.topic", {"value"});
    Event value;

    EXPECT_LT(participant.readPatiently("some.other.topic", value), 0);
    EXPECT_TRUE(value.empty());
}

TEST_F(Read, FindsTheValueAfterItsPublisherAndTheServiceAreGone) {
    Participant reader;
    ASSERT_TRUE(reader.join());
    ASSERT_EQ(reader.access.startService(), 0);
    ASSERT_TRUE(reader.client.awaitEvents(1));
    const pid_t service = std::stoi(reader.client.events()[0].at(1));
    {
        Participant publisher;
        ASSERT_TRUE(publisher.join());
        publisher.access.publish(kEventTopic, {"stopped"});
    }
    ASSERT_TRUE(reader.client.awaitEvents(2));
    ASSERT_TRUE(sendSignal(service, SIGKILL));
    BusPeer peer;
    ASSERT_TRUE(eventually([&] { return !peer.isOwned(kServiceName); }));
    Event value;

    EXPECT_EQ(reader.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"stopped"});
}

TEST_F(Read, SurvivesMalformedMessages) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    BusPeer peer;
    ASSERT_GE(peer.publish(kEventTopic, {"sound"}), 0);
    ASSERT_GE(peer.publishMalformed(kEventTopic), 0);
    ASSERT_TRUE(peer.isOwned(kKeeperName)) << "and what the peer sent before is on its way to the keeper";
    Event value;

    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"sound"});
}

TEST_F(Read, IsAnsweredWhileACallbackBlocks) {
    std::promise<void> entered, release;
    Participant participant;
    participant.client.whenEvent = [&](const Event&) {
        entered.set_value();
        release.get_future().wait();
    };
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"blocking"});
    entered.get_future().wait();
    Event value;

    const int result = participant.readPatiently(kEventTopic, value);
    release.set_value();

    EXPECT_EQ(result, 0);
    EXPECT_EQ(value, Event{"blocking"});
}

TEST_F(Read, FromManyThreadsAtOnceIsAnsweredToEach) {
    constexpr int kReads = 200;
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"value"});
    const auto readAll = [&] {
        int answered = 0;
        for (int i = 0; i < kReads; ++i) {
            Event value;
            answered += participant.readPatiently(kEventTopic, value) == 0 && value == Event{"value"};
        }
        return answered;
    };

    std::vector<std::future<int>> readers;
    for (int i = 0; i < 4; ++i)
        readers.push_back(std::async(std::launch::async, readAll));

    for (auto& reader : readers)
        EXPECT_EQ(reader.get(), kReads);
}

TEST_F(Read, GivesUpOnAKeeperThatHangsAndRecoversWithIt) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"value"});
    const pid_t keeper = BusPeer().processOf(kKeeperName);
    ASSERT_GT(keeper, 0);
    ASSERT_TRUE(sendSignal(keeper, SIGSTOP));
    Event value;

    const auto elapsed = fastestFailure(participant.access);
    ASSERT_TRUE(sendSignal(keeper, SIGCONT));

    EXPECT_GE(elapsed, std::chrono::milliseconds(100));
    EXPECT_LT(elapsed, std::chrono::milliseconds(150));
    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"value"});
}

TEST_F(Read, DoesNotHoldUpAPublisher) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const pid_t keeper = BusPeer().processOf(kKeeperName);
    ASSERT_GT(keeper, 0);
    ASSERT_TRUE(sendSignal(keeper, SIGSTOP));

    auto reader = std::async(std::launch::async, [&] {
        Event value;
        return participant.access.read(kEventTopic, value);
    });
    int published = 0;
    while (reader.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        published += participant.access.publish(kCommandTopic, {"create"}) == 0;
    ASSERT_TRUE(sendSignal(keeper, SIGCONT));

    EXPECT_LT(reader.get(), 0);
    EXPECT_GT(published, 10);
}

TEST_F(Read, GivesUpOnABusThatHangsAndRecoversWithIt) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));

    expectToFailInTime(participant.access);
    participant.access.publish(kEventTopic, {"value"});
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGCONT));
    Event value;

    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"value"});
}

TEST_F(Read, IsAnsweredWhileTheServiceHangs) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_EQ(participant.access.startService(), 0);
    ASSERT_TRUE(participant.client.awaitEvents(1));
    ASSERT_TRUE(sendSignal(std::stoi(participant.client.events()[0].at(1)), SIGSTOP));
    participant.access.publish(kEventTopic, {"value"});
    Event value;

    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"value"});
}

TEST_F(Read, BringsADeadKeeperBackWithoutItsValues) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"value"});
    BusPeer peer;
    ASSERT_TRUE(sendSignal(peer.processOf(kKeeperName), SIGKILL));
    ASSERT_TRUE(eventually([&] { return !peer.isOwned(kKeeperName); }));
    Event value;

    expectToFailInTime(participant.access);
    EXPECT_EQ(participant.readPatiently(kEventTopic, value), -ENODATA);

    participant.access.publish(kEventTopic, {"another"});
    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"another"});
}

TEST_F(Read, WithoutAKeeperFailsAndCostsNothingElse) {
    const desktop::PrivateBus empty("/nonexistent");
    setenv("DBUS_SESSION_BUS_ADDRESS", empty.address().c_str(), 1);
    Participant participant;
    ASSERT_TRUE(participant.join());

    expectToFailInTime(participant.access);

    EXPECT_EQ(participant.access.publish(kEventTopic, {"event"}), 0);
    EXPECT_TRUE(participant.client.awaitEvents(1));
}

} // namespace
} // namespace velmora::bus_test
