// The beginning of a connection: initialize() and start().
#include "platform/conformance_test.h"

#include <fcntl.h>
#include <pthread.h>

#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

namespace velmora::platform_test {
namespace {

TEST(Initialize, SucceedsWhereThereIsABus) {
    Participant participant;

    EXPECT_EQ(participant.access.initialize(), 0);
}

// A creation, which publishes, may follow at once.
TEST(Initialize, ReturnsWithAConnectionThatPublishes) {
    Participant receiver;
    Participant sender;
    ASSERT_TRUE(receiver.join());

    ASSERT_EQ(sender.access.initialize(), 0);
    EXPECT_EQ(sender.access.publish(kEventTopic, {"at once"}), 0);

    ASSERT_TRUE(receiver.client.awaitEvents(1));
    EXPECT_EQ(receiver.client.events()[0], Event{"at once"});
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
    EXPECT_TRUE(receiver.client.awaitEvent([](const Event& event) { return event == Event{"late"}; }, kPatience));
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

sigset_t blockedSignals() {
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return blocked;
}

TEST(Start, DeliversOnAThreadThatTakesNoSignals) {
    std::promise<sigset_t> mask;
    Participant sender;
    Participant receiver;
    receiver.client.whenEvent = [&](const Event&) { mask.set_value(blockedSignals()); };
    const sigset_t before = blockedSignals();
    ASSERT_TRUE(sender.join() && receiver.join());
    const sigset_t afterwards = blockedSignals();
    sender.access.publish(kEventTopic, {"event"});

    auto delivery = mask.get_future();
    ASSERT_EQ(delivery.wait_for(kPatience), std::future_status::ready);
    const sigset_t blocked = delivery.get();
    for (const int signal : {SIGTERM, SIGINT, SIGALRM, SIGCHLD, SIGUSR1}) {
        EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
        EXPECT_EQ(sigismember(&afterwards, signal), sigismember(&before, signal)) << "the caller's " << signal;
    }
}

std::set<std::string> inheritedDescriptors() {
    std::set<std::string> inherited;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const std::string descriptor = entry.path().filename();
        const int flags = fcntl(std::stoi(descriptor), F_GETFD);
        if (flags >= 0 && (flags & FD_CLOEXEC) == 0)
            inherited.insert(descriptor);
    }
    return inherited;
}

TEST(Start, LeavesNoDescriptorToAChild) {
    const auto before = inheritedDescriptors();
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"event"});
    Event value;
    ASSERT_EQ(participant.readPatiently(kEventTopic, value), 0);

    EXPECT_EQ(inheritedDescriptors(), before);
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

    EXPECT_TRUE(isDoneAtOnce(operations));
}

} // namespace
} // namespace velmora::platform_test
