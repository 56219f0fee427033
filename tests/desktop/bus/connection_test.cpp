// The beginning and the end of a connection to the desktop's bus, beyond what every platform must do.
#include "desktop/bus/bus_test.h"

#include <future>
#include <memory>

namespace velmora::bus_test {
namespace {

using Connection = BusTest;

TEST_F(Connection, EndsOnTheDeliveryThreadFromInsideACallback) {
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

TEST_F(Connection, RefusesToBeginTwice) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    EXPECT_LT(participant.access.initialize(), 0);
    EXPECT_LT(participant.access.start(), 0);

    participant.access.publish(kEventTopic, {"unharmed"});
    EXPECT_TRUE(participant.client.awaitEvents(1));
}

TEST_F(Connection, RefusesToDeliverToNobody) {
    ZUVModelAccess access(nullptr);
    ASSERT_EQ(access.initialize(), 0);

    EXPECT_LT(access.start(), 0);
}

} // namespace
} // namespace velmora::bus_test
