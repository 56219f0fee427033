// What is published arrives whole and in order, and publishing never blocks.
#include "platform/conformance_test.h"

#include <algorithm>
#include <map>
#include <thread>

namespace velmora::platform_test {
namespace {

TEST(Publish, ReachesEachOtherConnection) {
    Participant sender;
    Participant one;
    Participant another;
    ASSERT_TRUE(sender.join() && one.join() && another.join());
    const Event event = {"started", "200", "ses-1", "object-1"};

    EXPECT_EQ(sender.access.publish(kEventTopic, event), 0);

    for (Participant* receiver : {&one, &another}) {
        ASSERT_TRUE(receiver->client.awaitEvents(1));
        EXPECT_EQ(receiver->client.events(), std::vector<Event>{event});
    }
}

TEST(Publish, DeliversTheEventTopicOnly) {
    Participant sender;
    Participant receiver;
    ASSERT_TRUE(sender.join() && receiver.join());

    sender.access.publish(kCommandTopic, {"create"});
    sender.access.publish(kEventTopic, {"created"});

    ASSERT_TRUE(receiver.client.awaitEvents(1));
    EXPECT_EQ(receiver.client.events(), std::vector<Event>{{"created"}});
}

TEST(Publish, KeepsTheOrderOfEachSender) {
    constexpr std::size_t kCount = 2000;
    Participant left;
    Participant right;
    Participant receiver;
    ASSERT_TRUE(left.join() && right.join() && receiver.join());
    const auto publishAll = [](ZUVModelAccess& access, const std::string& name) {
        for (std::size_t i = 0; i < kCount; ++i)
            access.publish(kEventTopic, {name, std::to_string(i)});
    };

    std::thread other(publishAll, std::ref(left.access), "left");
    publishAll(right.access, "right");
    other.join();

    ASSERT_TRUE(receiver.client.awaitEvents(2 * kCount));
    std::map<std::string, int> next;
    for (const Event& event : receiver.client.events())
        ASSERT_EQ(event.at(1), std::to_string(next[event.at(0)]++)) << event.at(0);
}

TEST(Publish, TakesCallsFromManyThreadsOfOneConnection) {
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kCount = 200;
    Participant sender;
    Participant receiver;
    ASSERT_TRUE(sender.join() && receiver.join());

    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (std::size_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back([&sender, thread] {
            for (std::size_t i = 0; i < kCount; ++i)
                sender.access.publish(kEventTopic, {std::to_string(thread), std::to_string(i)});
        });
    for (std::thread& thread : threads)
        thread.join();

    ASSERT_TRUE(receiver.client.awaitEvents(kThreads * kCount));
    std::map<std::string, int> next;
    for (const Event& event : receiver.client.events())
        ASSERT_EQ(event.at(1), std::to_string(next[event.at(0)]++)) << "thread " << event.at(0);
}

TEST(Publish, CarriesAnyBytesWhole) {
    Participant sender;
    Participant receiver;
    ASSERT_TRUE(sender.join() && receiver.join());
    const Event event = {std::string("a\0b\0", 4), "\xff\xfe\xc3\x28", "", "\n\r\t%s{}",
                         std::string(std::size_t{1} << 20, '\x80')};

    EXPECT_EQ(sender.access.publish(kEventTopic, event), 0);

    ASSERT_TRUE(receiver.client.awaitEvents(1));
    EXPECT_EQ(receiver.client.events()[0], event);
}

TEST(Publish, CarriesListsOfAnyLength) {
    const std::vector<Event> events = {{}, {""}, Event(10), Event(11, "entry"), Event(1000, "entry")};
    Participant sender;
    Participant receiver;
    ASSERT_TRUE(sender.join() && receiver.join());

    for (const Event& event : events)
        EXPECT_EQ(sender.access.publish(kEventTopic, event), 0);

    ASSERT_TRUE(receiver.client.awaitEvents(events.size()));
    EXPECT_EQ(receiver.client.events(), events);
}

TEST(Publish, OfACommandThatNobodyHearsReturnsAndIsDropped) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    const auto commands = inBackground([&] {
        for (int i = 0; i < 1000; ++i)
            participant.access.publish(kCommandTopic, Event(11, "entry"));
    });

    ASSERT_TRUE(isDone(commands));
    participant.access.publish(kEventTopic, {"still here"});
    Event value;
    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"still here"});
}

TEST(Publish, FromInsideACallback) {
    Participant asked;
    Participant asking;
    asked.client.whenEvent = [&](const Event& event) {
        if (event == Event{"question"})
            asked.access.publish(kEventTopic, {"answer"});
    };
    ASSERT_TRUE(asked.join() && asking.join());

    asking.access.publish(kEventTopic, {"question"});

    EXPECT_TRUE(asking.client.awaitEvent([](const Event& event) { return event == Event{"answer"}; }, kPatience));
}

// The client publishes with a mutex held that its callback may be waiting for.
TEST(PublishAndRead, DoNotWaitForACallbackOfTheirConnection) {
    std::promise<void> entered;
    std::promise<void> release;
    Participant sender;
    Participant receiver;
    receiver.client.whenEvent = [&](const Event& event) {
        if (event != Event{"under way"})
            return;
        entered.set_value();
        release.get_future().wait();
    };
    ASSERT_TRUE(sender.join() && receiver.join());
    sender.access.publish(kEventTopic, {"under way"});
    ASSERT_EQ(entered.get_future().wait_for(kPatience), std::future_status::ready);

    const auto operations = inBackground([&] {
        EXPECT_EQ(receiver.access.publish(kCommandTopic, {"create"}), 0);
        EXPECT_EQ(receiver.access.publish(kEventTopic, {"unknown"}), 0);
        Event value;
        EXPECT_EQ(receiver.readPatiently(kEventTopic, value), 0);
        EXPECT_EQ(value, Event{"unknown"});
    });

    EXPECT_TRUE(isDone(operations));
    release.set_value();
}

// The client publishes the neutral event, then a command, and takes what it reads afterwards for the answer.
TEST(PublishAndRead, KeepTheOrderOfAConnectionAcrossTopics) {
    constexpr int kCount = 100;
    Participant asking;
    Participant answering;
    ASSERT_TRUE(asking.join() && answering.join());

    for (int i = 0; i < kCount; ++i) {
        const Event command = {"preload", std::to_string(i)};
        const Event answer = {"started", std::to_string(i)};
        const auto service = inBackground([&] {
            EXPECT_TRUE(answering.awaitValue(kCommandTopic, command));
            answering.access.publish(kEventTopic, answer);
        });
        asking.access.publish(kEventTopic, {"unknown"});
        asking.access.publish(kCommandTopic, command);

        ASSERT_TRUE(asking.awaitValue(kEventTopic, answer)) << i << ": the neutral event came after the answer";
        Event value;
        ASSERT_EQ(asking.readPatiently(kEventTopic, value), 0);
        ASSERT_EQ(value, answer) << "and stays";
    }
}

class OnAStalledBus : public TestWith<StalledBus> {
protected:
    OnAStalledBus() : TestWith(platformUnderTest().stalledBus) {}
};

TEST_F(OnAStalledBus, PublishReturns) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    thing().begin();
    const auto operations = inBackground([&] {
        for (int i = 0; i < 1000; ++i)
            participant.access.publish(kCommandTopic, Event(11, "entry"));
    });
    EXPECT_TRUE(isDone(operations));
    thing().end();
}

TEST_F(OnAStalledBus, ReadGivesUpWithinItsLimit) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    auto fastest = std::chrono::steady_clock::duration::max();

    thing().begin();
    for (int i = 0; i < 5; ++i) {
        Event value = {"left over"};
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_LT(participant.access.read(kEventTopic, value), 0);
        fastest = std::min(fastest, std::chrono::steady_clock::now() - begin);
        EXPECT_TRUE(value.empty());
    }
    thing().end();

    EXPECT_LT(fastest, std::chrono::milliseconds(150)) << "100 ms; a busy machine hardly adds to every read";
}

} // namespace
} // namespace velmora::platform_test
