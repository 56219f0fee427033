// The end of a connection, on whatever thread and at whatever moment it comes.
#include "bus_test.h"

#include <atomic>
#include <csignal>
#include <future>
#include <memory>
#include <thread>

namespace velmora::bus_test {
namespace {

using Lifetime = BusTest;

TEST_F(Lifetime, EndsOnTheDeliveryThreadFromInsideACallback) {
    const ThreadEnd threadEnd = std::make_shared<std::atomic<bool>>(false);
    std::promise<void> started;
    Participant sender;
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    client.whenEvent = [&](const Event&) {
        reportEndOfThisThread(threadEnd);
        started.get_future().wait();
        // Once its value can be read, the event itself has arrived and waits behind this one.
        access->publish(kEventTopic, {"one too many"});
        Event value;
        access->read(kEventTopic, value);
        access.reset();
    };
    ASSERT_TRUE(sender.join());
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);
    started.set_value();

    sender.access.publish(kEventTopic, {"last"});

    ASSERT_TRUE(eventually([&] { return threadEnd->load(); }));
    EXPECT_EQ(client.events(), std::vector<Event>{{"last"}});
}

TEST_F(Lifetime, EndsOnAnotherThreadAfterTheCallbackUnderWay) {
    std::promise<void> entered, release;
    std::atomic<bool> finished = false;
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    client.whenEvent = [&](const Event& event) {
        if (event.at(0) != "under way")
            return;
        entered.set_value();
        release.get_future().wait();
        finished = true;
    };
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);
    access->publish(kEventTopic, {"under way"});
    entered.get_future().wait();

    auto destroyer = std::async(std::launch::async, [&] {
        access.reset();
        return finished.load();
    });
    EXPECT_EQ(destroyer.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    release.set_value();

    EXPECT_TRUE(destroyer.get());
}

TEST_F(Lifetime, DeliversNothingAfterItsEnd) {
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    Participant witness;
    ASSERT_TRUE(witness.join());
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);

    access.reset();
    witness.access.publish(kEventTopic, {"too late"});

    ASSERT_TRUE(witness.client.awaitEvents(1));
    EXPECT_TRUE(client.events().empty());
}

TEST_F(Lifetime, EndsInTheMidstOfAFloodOfEvents) {
    Participant sender;
    ASSERT_TRUE(sender.join());
    std::atomic<bool> enough = false;
    std::thread flood([&] {
        while (!enough) {
            sender.access.publish(kEventTopic, {"event"});
            std::this_thread::yield();
        }
    });

    bool joined = true;
    for (int i = 0; i < 50 && joined; ++i) {
        Participant shortLived;
        joined = shortLived.join() && shortLived.client.awaitEvents(1);
    }
    enough = true;
    flood.join();

    EXPECT_TRUE(joined);
}

TEST_F(Lifetime, EndsUnusedInEachOfItsStates) {
    RecordingClient client;
    { const ZUVModelAccess untouched(&client); }
    {
        ZUVModelAccess initialized(&client);
        EXPECT_EQ(initialized.initialize(), 0);
    }
    {
        ZUVModelAccess started(&client);
        EXPECT_EQ(started.initialize(), 0);
        EXPECT_EQ(started.start(), 0);
    }
    EXPECT_EQ(client.stateChanges(), 0);
}

TEST_F(Lifetime, RefusesToBeginTwice) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    EXPECT_LT(participant.access.initialize(), 0);
    EXPECT_LT(participant.access.start(), 0);

    participant.access.publish(kEventTopic, {"unharmed"});
    EXPECT_TRUE(participant.client.awaitEvents(1));
}

TEST_F(Lifetime, RefusesToDeliverToNobody) {
    ZUVModelAccess access(nullptr);
    ASSERT_EQ(access.initialize(), 0);

    EXPECT_LT(access.start(), 0);
}

TEST_F(Lifetime, DeliveryThreadTakesNoSignals) {
    std::promise<sigset_t> mask;
    Participant participant;
    participant.client.whenEvent = [&](const Event&) {
        sigset_t blocked;
        pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
        mask.set_value(blocked);
    };
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"event"});

    const sigset_t blocked = mask.get_future().get();

    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
    EXPECT_EQ(sigismember(&blocked, SIGALRM), 1);
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGTERM), 0);
}

} // namespace
} // namespace velmora::bus_test
