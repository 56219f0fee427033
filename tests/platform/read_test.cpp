// The value that a topic last carried.
#include "platform/conformance_test.h"

#include <atomic>

namespace velmora::platform_test {
namespace {

TEST(Read, FindsWhatWasPublishedBeforeTheReaderCame) {
    Participant sender;
    ASSERT_TRUE(sender.join());
    sender.access.publish(kEventTopic, {"created", "200"});
    Event value;
    ASSERT_EQ(sender.readPatiently(kEventTopic, value), 0);

    Participant late;
    ASSERT_TRUE(late.join());

    EXPECT_EQ(late.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, (Event{"created", "200"}));
}

TEST(Read, FindsTheValueAfterItsPublisherHasLeft) {
    Participant reader;
    ASSERT_TRUE(reader.join());
    {
        Participant publisher;
        ASSERT_TRUE(publisher.join());
        publisher.access.publish(kEventTopic, {"stopped"});
    }
    ASSERT_TRUE(reader.client.awaitEvents(1));
    Event value;

    EXPECT_EQ(reader.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"stopped"});
}

TEST(Read, IsNeverOlderThanWhatTheSameConnectionPublished) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    for (int i = 0; i < 2000; ++i) {
        const Event neutral = {"unknown", std::to_string(i)};
        participant.access.publish(kEventTopic, {"created", std::to_string(i)});
        participant.access.publish(kEventTopic, neutral);
        Event value;
        ASSERT_EQ(participant.readPatiently(kEventTopic, value), 0) << i;
        ASSERT_EQ(value, neutral);
    }
}

TEST(Read, KnowsTheTopicsApart) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish(kCommandTopic, {"create"});
    participant.access.publish(kEventTopic, {"created"});
    Event value;

    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);

    EXPECT_EQ(value, Event{"created"});
}

TEST(Read, OfATopicWithoutAValueFailsAndEmptiesTheList) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    Event value = {"left over"};

    EXPECT_LT(participant.access.read("topic.that.nobody.publishes", value), 0);

    EXPECT_TRUE(value.empty());
}

TEST(Read, CarriesAnyBytesWhole) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const Event event = {std::string("a\0b", 3), "\xff\xfe", "", std::string(std::size_t{1} << 20, '\x80')};
    participant.access.publish(kEventTopic, event);
    Event value = {"left over"};

    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);

    EXPECT_EQ(value, event);
}

TEST(Read, FromInsideACallbackKeepsTheEventsBehindItInOrder) {
    constexpr std::size_t kCount = 100;
    std::atomic<int> failed = 0;
    Participant sender;
    Participant reader;
    reader.client.whenEvent = [&](const Event&) {
        Event value;
        failed += reader.readPatiently(kEventTopic, value) != 0;
    };
    ASSERT_TRUE(sender.join() && reader.join());

    for (std::size_t i = 0; i < kCount; ++i)
        sender.access.publish(kEventTopic, {std::to_string(i)});

    ASSERT_TRUE(reader.client.awaitEvents(kCount));
    EXPECT_EQ(failed, 0);
    const auto events = reader.client.events();
    for (std::size_t i = 0; i < kCount; ++i)
        ASSERT_EQ(events[i].at(0), std::to_string(i));
}

} // namespace
} // namespace velmora::platform_test
