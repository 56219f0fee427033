// Publishing on the desktop's bus, beyond what every platform must do: its limits, and failures of senders, of
// the daemon and of messages.
#include "desktop/bus/bus_test.h"

#include <csignal>
#include <thread>

namespace velmora::bus_test {
namespace {

using Publish = BusTest;

constexpr std::size_t kMebibyte = std::size_t{1} << 20;

/// Listens to the commands, as the service does, and keeps the first entry of each. One thread.
class CommandReader {
public:
    CommandReader() {
        EXPECT_GE(desktop::openBus(m_bus), 0);
        EXPECT_GE(
            sd_bus_add_match(m_bus.get(), nullptr, desktop::topicMatchRule(kCommandTopic).c_str(), onCommand, this), 0);
    }

    /// Reads what has come, until there are so many. False when ten seconds bring nothing more.
    bool await(std::size_t count) {
        constexpr uint64_t kPatienceMicroseconds = 10'000'000;
        int result = 1;
        while (m_commands.size() < count && result > 0) {
            result = sd_bus_process(m_bus.get(), nullptr);
            if (result == 0)
                result = sd_bus_wait(m_bus.get(), kPatienceMicroseconds);
        }
        return m_commands.size() == count;
    }

    const std::vector<std::string>& commands() const { return m_commands; }

private:
    static int onCommand(sd_bus_message* message, void* reader, sd_bus_error*) {
        if (const auto command = desktop::readTopicValue(message))
            static_cast<CommandReader*>(reader)->m_commands.push_back(command->values.at(0));
        return 0;
    }

    desktop::BusPointer m_bus;
    std::vector<std::string> m_commands;
};

TEST_F(Publish, ComesBackToItsSender) {
    Participant sender;
    ASSERT_TRUE(sender.join());

    sender.access.publish(kEventTopic, {"unknown"});

    ASSERT_TRUE(sender.client.awaitEvents(1));
    EXPECT_EQ(sender.client.events()[0], Event{"unknown"});
}

TEST_F(Publish, CarriesTheLongestList) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const Event event(desktop::kMaximumEntries, "x");

    EXPECT_EQ(participant.access.publish(kEventTopic, event), 0);

    ASSERT_TRUE(participant.client.awaitEvents(1));
    EXPECT_EQ(participant.client.events()[0], event);
}

TEST_F(Publish, CarriesElevenStringsOfAMebibyteThreeTimes) {
    Participant sender, receiver;
    ASSERT_TRUE(sender.join() && receiver.join());
    const Event event(11, std::string(kMebibyte, 'x'));

    for (std::size_t i = 1; i <= 3; ++i) {
        EXPECT_EQ(sender.access.publish(kEventTopic, event), 0);
        ASSERT_TRUE(receiver.client.awaitEvents(i));
    }

    EXPECT_EQ(receiver.client.events(), std::vector<Event>(3, event));
}

TEST_F(Publish, ArrivesWhenTheSenderGoesAwayAtOnce) {
    Participant receiver;
    ASSERT_TRUE(receiver.join());
    const Event event = {std::string(kMebibyte, 'x')};

    {
        ZUVModelAccess sender(nullptr);
        ASSERT_EQ(sender.initialize(), 0);
        EXPECT_EQ(sender.publish(kEventTopic, event), 0);
    }

    ASSERT_TRUE(receiver.client.awaitEvents(1));
    EXPECT_EQ(receiver.client.events()[0], event);
}

TEST_F(Publish, RefusesWhatTheBusCannotCarryAndGoesOn) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    EXPECT_LT(participant.access.publish(kEventTopic, {std::string(17 * kMebibyte, 'x')}), 0);
    EXPECT_LT(participant.access.publish(kEventTopic, Event(desktop::kMaximumEntries + 1)), 0);
    EXPECT_LT(participant.access.publish(std::string("topic\0", 6), {"x"}), 0);
    EXPECT_LT(participant.access.publish("\xff\xfe", {"x"}), 0);

    EXPECT_EQ(participant.access.publish(kEventTopic, {"still here"}), 0);
    ASSERT_TRUE(participant.client.awaitEvents(1));
    EXPECT_EQ(participant.client.events()[0], Event{"still here"});
    EXPECT_EQ(participant.client.stateChanges(), 0);
}

TEST_F(Publish, WithNobodyListeningTakesTwentyThousandCommands) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const Event command(11, "a command's entry");

    int refused = 0;
    for (int i = 0; i < 20000; ++i)
        refused += participant.access.publish(kCommandTopic, command) != 0;

    EXPECT_EQ(refused, 0);
    participant.access.publish(kEventTopic, {"done"});
    EXPECT_TRUE(participant.client.awaitEvents(1));
}

// More than the daemon keeps for one reader: what is beyond that is lost, but only for the reader that hangs.
TEST_F(Publish, ToAServiceThatHangsReachesTheOthersWholeAndInOrder) {
    constexpr std::size_t kCount = 20000;
    constexpr std::size_t kRound = 1000;
    const std::string text(1024, 'x');
    Participant participant;
    ASSERT_TRUE(participant.join());
    CommandReader reader;
    ASSERT_EQ(participant.access.startService(), 0);
    ASSERT_TRUE(participant.client.awaitEvents(1));
    const pid_t service = std::stoi(participant.client.events()[0].at(1));
    ASSERT_TRUE(sendSignal(service, SIGSTOP));

    int refused = 0;
    for (std::size_t i = 0; i < kCount; ++i) {
        refused += participant.access.publish(kCommandTopic, {std::to_string(i), text}) != 0;
        // In rounds, so that this reader keeps up.
        if (i % kRound == kRound - 1) {
            ASSERT_TRUE(reader.await(i + 1));
        }
    }

    EXPECT_EQ(refused, 0);
    for (std::size_t i = 0; i < kCount; ++i)
        ASSERT_EQ(reader.commands()[i], std::to_string(i));
    ASSERT_TRUE(sendSignal(service, SIGCONT));
    // As long as the service has not caught up, this is lost as well.
    ASSERT_TRUE(eventually([&] {
        participant.access.publish(kCommandTopic, {"count"});
        return participant.client.events().size() > 1;
    }));
    const Event counted = participant.client.events()[1];
    EXPECT_EQ(counted.at(0), "counted");
    EXPECT_GT(std::stoul(counted.at(1)), kCount / 2);
    EXPECT_LT(std::stoul(counted.at(1)), kCount);
}

TEST_F(Publish, DoesNotWaitForABusThatHangs) {
    constexpr std::size_t kCount = 20000;
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));

    int refused = 0;
    for (std::size_t i = 0; i < kCount; ++i)
        refused += participant.access.publish(kEventTopic, {std::to_string(i)}) != 0;
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGCONT));

    EXPECT_EQ(refused, 0);
    ASSERT_TRUE(participant.client.awaitEvents(kCount));
    const auto events = participant.client.events();
    for (std::size_t i = 0; i < kCount; ++i)
        ASSERT_EQ(events[i].at(0), std::to_string(i));
}

TEST_F(Publish, FromInsideACallbackWhileAnotherThreadPublishes) {
    constexpr int kCount = 1000;
    Participant participant;
    participant.client.whenEvent = [&](const Event& event) {
        if (event.at(0) == "question")
            participant.access.publish(kEventTopic, {"answer"});
    };
    ASSERT_TRUE(participant.join());

    for (int i = 0; i < kCount; ++i)
        participant.access.publish(kEventTopic, {"question"});

    EXPECT_TRUE(participant.client.awaitEvents(2 * kCount));
}

TEST_F(Publish, ActivatesNothing) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const auto before = processes();

    participant.access.publish(kCommandTopic, {"create"});
    participant.access.publish(kEventTopic, {"unknown"});

    // What the daemon starts on a message runs, in its group, before it delivers the next one.
    ASSERT_TRUE(participant.client.awaitEvents(1));
    EXPECT_EQ(processesStartedSince(before), std::set<pid_t>{});
}

TEST_F(Publish, MalformedMessagesAreDroppedWithALine) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    BusPeer peer;
    ::testing::internal::CaptureStderr();

    ASSERT_GE(peer.publishMalformed(kEventTopic), 0);
    ASSERT_GE(peer.publish(kEventTopic, {"sound"}), 0);

    const bool arrived = participant.client.awaitEvents(1);
    const std::string log = ::testing::internal::GetCapturedStderr();
    ASSERT_TRUE(arrived);
    EXPECT_EQ(participant.client.events(), std::vector<Event>{{"sound"}});
    EXPECT_NE(log.find("malformed publication dropped: sender=:1."), std::string::npos) << log;
}

} // namespace
} // namespace velmora::bus_test
