// The beginning of a connection: initialize() and start().
#include "participant.h"

#include <thread>

namespace velmora::platform_test {
namespace {

TEST(Initialize, SucceedsWhereThereIsABus) {
    Participant participant;

    EXPECT_EQ(participant.access.initialize(), 0);
}

TEST(Start, DeliversFromHereOnAndNotBefore) {
    Participant sender;
    Participant receiver;
    ASSERT_TRUE(sender.join());
    ASSERT_EQ(receiver.access.initialize(), 0);

    sender.access.publish(kEventTopic, {"early"});
    Event value;
    ASSERT_EQ(receiver.readPatiently(kEventTopic, value), 0) << "what can be read has arrived";
    EXPECT_TRUE(receiver.client.events().empty());

    ASSERT_EQ(receiver.access.start(), 0);
    sender.access.publish(kEventTopic, {"late"});
    EXPECT_TRUE(
        receiver.client.awaitEvent([](const Event& event) { return event == Event{"late"}; }, kPatience));
}

TEST(Start, DeliversOnOneThreadThatIsNoCallers) {
    Participant sender;
    Participant receiver;
    ASSERT_TRUE(sender.join() && receiver.join());

    sender.access.publish(kEventTopic, {"first"});
    ASSERT_TRUE(receiver.client.awaitEvents(1));
    const auto thread = receiver.client.thread();
    sender.access.publish(kEventTopic, {"second"});
    ASSERT_TRUE(receiver.client.awaitEvents(2));

    EXPECT_EQ(receiver.client.thread(), thread);
    EXPECT_NE(thread, std::this_thread::get_id());
}

class WithoutBus : public TestWith<MissingBus> {
protected:
    WithoutBus() : TestWith(platformUnderTest().missingBus) {}

    void SetUp() override {
        TestWith::SetUp();
        if (!IsSkipped())
            thing().begin();
    }

    void TearDown() override {
        if (!IsSkipped())
            thing().end();
    }
};

TEST_F(WithoutBus, EveryOperationFailsAtOnce) {
    Participant participant;

    const auto operations = inBackground([&] {
        EXPECT_LT(participant.access.initialize(), 0);
        EXPECT_LT(participant.access.start(), 0);
        EXPECT_LT(participant.access.startService(), 0);
        EXPECT_LT(participant.access.publish(kEventTopic, {"event"}), 0);
        Event value = {"left over"};
        EXPECT_LT(participant.access.read(kEventTopic, value), 0);
        EXPECT_TRUE(value.empty());
    });

    EXPECT_TRUE(isDone(operations));
}

} // namespace
} // namespace velmora::platform_test
