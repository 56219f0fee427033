// The service comes when it is asked for, and only then.
#include "participant.h"

#include <optional>

namespace velmora::platform_test {
namespace {

class StartService : public TestWith<Service> {
protected:
    StartService() : TestWith(platformUnderTest().service) {}

    void SetUp() override {
        TestWith::SetUp();
        if (IsSkipped())
            return;
        thing().end();
        m_participant.emplace();
        ASSERT_TRUE(m_participant->join());
    }

    void TearDown() override {
        if (!IsSkipped())
            thing().end();
    }

    ZUVModelAccess& access() { return m_participant->access; }

    // Asks as often as the client does, since nobody hears a command before the service runs.
    bool answers() {
        const std::string session = "ses-" + std::to_string(++m_sessions);
        const auto answered = [&](const Event& event) {
            return event.size() > 2 && event[0] == "status" && event[2] == session;
        };
        const auto deadline = std::chrono::steady_clock::now() + kPatience;
        bool isAnswered = false;
        while (!isAnswered && std::chrono::steady_clock::now() < deadline) {
            access().publish(kCommandTopic, {"inspect", "", session, "", "", "", "", "", "", "", ""});
            isAnswered = m_participant->client.awaitEvent(answered, std::chrono::milliseconds(200));
        }
        return isAnswered;
    }

    std::optional<Participant> m_participant;

private:
    int m_sessions = 0;
};

TEST_F(StartService, BringsUpAServiceThatAnswersCommands) {
    EXPECT_EQ(access().startService(), 0);

    EXPECT_TRUE(answers());
    EXPECT_NE(thing().instance(), 0);
}

TEST_F(StartService, LeavesARunningOneAlone) {
    ASSERT_EQ(access().startService(), 0);
    ASSERT_TRUE(answers());
    const long instance = thing().instance();

    EXPECT_EQ(access().startService(), 0);

    EXPECT_TRUE(answers());
    EXPECT_EQ(thing().instance(), instance);
}

TEST_F(StartService, StartsItAgainAfterItsEnd) {
    ASSERT_EQ(access().startService(), 0);
    ASSERT_TRUE(answers());
    const long instance = thing().instance();
    thing().end();

    EXPECT_EQ(access().startService(), 0);

    EXPECT_TRUE(answers());
    EXPECT_NE(thing().instance(), instance);
}

TEST_F(StartService, ReplacesOneThatHangs) {
    ASSERT_EQ(access().startService(), 0);
    ASSERT_TRUE(answers());
    const long instance = thing().instance();
    thing().hang();

    EXPECT_EQ(access().startService(), 0);

    EXPECT_TRUE(answers());
    EXPECT_NE(thing().instance(), instance);
}

TEST_F(StartService, FromInsideACallback) {
    m_participant.emplace();
    m_participant->client.whenEvent = [&](const Event& event) {
        if (event == Event{"unanswered"})
            access().startService();
    };
    ASSERT_TRUE(m_participant->join());

    access().publish(kEventTopic, {"unanswered"});

    EXPECT_TRUE(answers());
}

// The client asks for it with a mutex held that its callback may be waiting for.
TEST_F(StartService, DoesNotWaitForACallbackOfItsConnection) {
    std::promise<void> entered;
    std::promise<void> release;
    m_participant.emplace();
    m_participant->client.whenEvent = [&](const Event& event) {
        if (event != Event{"under way"})
            return;
        entered.set_value();
        release.get_future().wait();
    };
    ASSERT_TRUE(m_participant->join());
    access().publish(kEventTopic, {"under way"});
    ASSERT_EQ(entered.get_future().wait_for(kPatience), std::future_status::ready);

    const auto request = inBackground([&] { EXPECT_EQ(access().startService(), 0); });

    EXPECT_TRUE(isDone(request));
    release.set_value();
    EXPECT_TRUE(answers());
}

TEST_F(StartService, DoesNotWaitForAStalledBus) {
    const auto* bus = std::get_if<StalledBus>(&platformUnderTest().stalledBus);
    if (bus == nullptr)
        GTEST_SKIP() << std::get<Lacking>(platformUnderTest().stalledBus).reason;

    bus->begin();
    const auto request = inBackground([&] { access().startService(); });
    EXPECT_TRUE(isDone(request));
    bus->end();

    EXPECT_TRUE(answers());
}

TEST_F(StartService, IsNotDoneByPublishing) {
    access().publish(kCommandTopic, Event(11, "entry"));
    access().publish(kEventTopic, {"unknown"});
    Event value;
    ASSERT_EQ(m_participant->readPatiently(kEventTopic, value), 0)
        << "what can be read has gone through the bus";

    EXPECT_EQ(thing().instance(), 0);
}

TEST_F(StartService, ThatHangsHoldsNoOperationUp) {
    ASSERT_EQ(access().startService(), 0);
    ASSERT_TRUE(answers());
    thing().hang();

    const auto operations = inBackground([&] {
        for (int i = 0; i < 1000; ++i)
            access().publish(kCommandTopic, Event(11, "entry"));
        access().publish(kEventTopic, {"unknown"});
        Event value;
        EXPECT_EQ(m_participant->readPatiently(kEventTopic, value), 0);
        EXPECT_EQ(value, Event{"unknown"});
    });

    EXPECT_TRUE(isDone(operations));
}

} // namespace
} // namespace velmora::platform_test
