// The end of a connection, on any thread and at any time.
#include "platform/conformance_test.h"

#include <atomic>
#include <memory>
#include <thread>

namespace velmora::platform_test {
namespace {

TEST(End, OnTheDeliveryThreadReturnsAndDeliversNoMore) {
    std::promise<void> ended;
    Participant sender;
    Participant witness;
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    client.whenEvent = [&](const Event&) {
        // Once the witness has it, it has arrived here, too, and waits behind this one.
        sender.access.publish(kEventTopic, {"one too many"});
        witness.client.awaitEvents(2);
        access.reset();
        ended.set_value();
    };
    ASSERT_TRUE(sender.join() && witness.join());
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);

    sender.access.publish(kEventTopic, {"last"});

    ASSERT_EQ(ended.get_future().wait_for(kPatience), std::future_status::ready);
    sender.access.publish(kEventTopic, {"much later"});
    ASSERT_TRUE(witness.client.awaitEvents(3));
    EXPECT_EQ(client.events(), std::vector<Event>{{"last"}});
}

TEST(End, ElsewhereWaitsForTheCallbackUnderWay) {
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> finished = false;
    Participant sender;
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    client.whenEvent = [&](const Event&) {
        entered.set_value();
        release.get_future().wait();
        finished = true;
    };
    ASSERT_TRUE(sender.join());
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);
    sender.access.publish(kEventTopic, {"under way"});
    ASSERT_EQ(entered.get_future().wait_for(kPatience), std::future_status::ready);

    auto destroyer = std::async(std::launch::async, [&] {
        access.reset();
        return finished.load();
    });
    EXPECT_EQ(destroyer.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    release.set_value();

    EXPECT_TRUE(destroyer.get());
}

TEST(End, DeliversNothingAfterwards) {
    Participant sender;
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    ASSERT_TRUE(sender.join());
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);
    Participant witness;
    ASSERT_TRUE(witness.join());

    access.reset();
    sender.access.publish(kEventTopic, {"too late"});

    ASSERT_TRUE(witness.client.awaitEvents(1));
    EXPECT_TRUE(client.events().empty());
}

TEST(End, InTheMidstOfEvents) {
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
    for (int i = 0; i < 20 && joined; ++i) {
        Participant shortLived;
        joined = shortLived.join() && shortLived.client.awaitEvents(1);
    }
    enough = true;
    flood.join();

    EXPECT_TRUE(joined);
}

TEST(End, InEachOfItsStates) {
    RecordingClient client;
    ZUVModelAccess{&client}; // untouched
    {
        ZUVModelAccess initialized(&client);
        EXPECT_EQ(initialized.initialize(), 0);
    }
    {
        ZUVModelAccess started(&client);
        EXPECT_EQ(started.initialize(), 0);
        EXPECT_EQ(started.start(), 0);
    }
}

} // namespace
} // namespace velmora::platform_test
