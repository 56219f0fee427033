// The service comes when it is asked for, and only then.
#include "platform/conformance_test.h"

#include <algorithm>
#include <optional>
#include <thread>

namespace velmora::platform_test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

Event commandOf(const std::string& name, const std::string& session) {
    Event command(11);
    command[0] = name;
    command[2] = session;
    return command;
}

bool isAnswer(const Event& event, const std::string& name, const std::string& session) {
    return event.size() > 2 && event[0] == name && event[2] == session;
}

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

    std::string nextSession() { return "ses-" + std::to_string(++m_sessions); }

    void inspect(const std::string& session) { access().publish(kCommandTopic, commandOf("inspect", session)); }

    bool isAnswered(const std::string& session, std::chrono::milliseconds limit) {
        return m_participant->client.awaitEvent([&](const Event& event) { return isAnswer(event, "status", session); },
                                                limit);
    }

    // Asks as often as the client does, since nobody hears a command before the service runs.
    bool answers(std::chrono::milliseconds limit = kPatience) {
        const std::string session = nextSession();
        const auto deadline = Clock::now() + limit;
        do {
            inspect(session);
            if (isAnswered(session, 200ms))
                return true;
        } while (Clock::now() < deadline);
        return false;
    }

    // For tests that begin with a running service: asks for it again where the two seconds that it has did not
    // suffice, on a machine that has other things to do.
    bool bringUp() {
        constexpr int kAttempts = 3;
        for (int i = 0; i < kAttempts; ++i)
            if (access().startService() == 0 && answers(3s))
                return true;
        return false;
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

TEST_F(StartService, BringsTheServiceNoCommandOfBefore) {
    const std::string session = nextSession();
    access().publish(kCommandTopic, commandOf("create", session));

    ASSERT_TRUE(bringUp());

    for (const Event& event : m_participant->client.events())
        EXPECT_FALSE(isAnswer(event, "created", session));
}

TEST_F(StartService, LeavesARunningOneAlone) {
    ASSERT_TRUE(bringUp());
    const long instance = thing().instance();

    EXPECT_EQ(access().startService(), 0);

    EXPECT_TRUE(answers());
    EXPECT_EQ(thing().instance(), instance);
}

TEST_F(StartService, StartsItAgainAfterItsEnd) {
    ASSERT_TRUE(bringUp());
    const long instance = thing().instance();
    thing().end();

    EXPECT_EQ(access().startService(), 0);

    EXPECT_TRUE(answers());
    EXPECT_NE(thing().instance(), instance);
}

TEST_F(StartService, ReplacesOneThatHangs) {
    ASSERT_TRUE(bringUp());
    const long instance = thing().instance();
    thing().hang();

    const auto request = inBackground([&] { EXPECT_EQ(access().startService(), 0); });

    EXPECT_TRUE(isDoneAtOnce(request));
    EXPECT_TRUE(answers());
    EXPECT_NE(thing().instance(), instance);
}

TEST_F(StartService, AskedForAgainWhileItIsUnderWayStartsOne) {
    Participant other;
    ASSERT_TRUE(other.join());
    const auto askTwice = [](ZUVModelAccess& access) {
        access.startService();
        access.startService();
    };

    std::thread thread(askTwice, std::ref(other.access));
    askTwice(access());
    thread.join();

    ASSERT_TRUE(answers());
    const long instance = thing().instance();
    const std::string session = nextSession();
    inspect(session);
    std::this_thread::sleep_for(500ms); // for a second one to answer as well, or to take the first one's place
    const auto events = m_participant->client.events();
    EXPECT_EQ(std::count_if(events.begin(), events.end(),
                            [&](const Event& event) { return isAnswer(event, "status", session); }),
              1);
    EXPECT_TRUE(answers());
    EXPECT_EQ(thing().instance(), instance);
}

TEST_F(StartService, FromInsideACallback) {
    Participant asking;
    asking.client.whenEvent = [&](const Event& event) {
        if (event == Event{"unanswered"})
            asking.access.startService();
    };
    ASSERT_TRUE(asking.join());

    access().publish(kEventTopic, {"unanswered"});

    EXPECT_TRUE(answers());
}

// The client asks for it with a mutex held that its callback may be waiting for.
TEST_F(StartService, DoesNotWaitForACallbackOfItsConnection) {
    std::promise<void> entered;
    std::promise<void> release;
    Participant asking;
    asking.client.whenEvent = [&](const Event& event) {
        if (event != Event{"under way"})
            return;
        entered.set_value();
        release.get_future().wait();
    };
    ASSERT_TRUE(asking.join());
    access().publish(kEventTopic, {"under way"});
    ASSERT_EQ(entered.get_future().wait_for(kPatience), std::future_status::ready);

    const auto request = inBackground([&] { EXPECT_EQ(asking.access.startService(), 0); });

    EXPECT_TRUE(isDoneAtOnce(request));
    release.set_value();
    EXPECT_TRUE(answers());
}

TEST_F(StartService, DoesNotWaitForAStalledBus) {
    const auto* bus = std::get_if<StalledBus>(&platformUnderTest().stalledBus);
    if (bus == nullptr)
        // The platform's bus cannot be made to stall, and it says why: there is nothing to wait for.
        GTEST_SKIP() << std::get<Lacking>(platformUnderTest().stalledBus).reason;

    bus->begin();
    const auto request = inBackground([&] { access().startService(); });
    EXPECT_TRUE(isDoneAtOnce(request));
    bus->end();

    EXPECT_TRUE(answers());
}

TEST_F(StartService, IsNotDoneByPublishing) {
    const std::string session = nextSession();
    access().publish(kEventTopic, {"unknown"});
    inspect(session);

    EXPECT_FALSE(isAnswered(session, 500ms)) << "as one would that this had started";
    EXPECT_EQ(thing().instance(), 0);
}

TEST_F(StartService, ThatHangsHoldsNoOperationUp) {
    ASSERT_TRUE(bringUp());
    thing().hang();

    const auto publications = inBackground([&] {
        for (int i = 0; i < 1000; ++i)
            access().publish(kCommandTopic, Event(11, "entry"));
        access().publish(kEventTopic, {"unknown"});
    });
    ASSERT_TRUE(isDone(publications));

    const auto read = inBackground([&] {
        Event value;
        access().read(kEventTopic, value);
    });
    EXPECT_TRUE(isDoneAtOnce(read)) << "100 ms, and what a busy machine adds";
    EXPECT_TRUE(m_participant->awaitValue(kEventTopic, {"unknown"}));
}

class RunningService : public StartService {
protected:
    void SetUp() override {
        StartService::SetUp();
        if (IsSkipped() || HasFatalFailure())
            return;
        ASSERT_TRUE(bringUp());
    }

    std::vector<std::string> answeredSessionsOf(const std::string& prefix) const {
        std::vector<std::string> sessions;
        for (const Event& event : m_participant->client.events())
            if (event.size() > 2 && event[2].starts_with(prefix))
                sessions.push_back(event[2]);
        return sessions;
    }
};

TEST_F(RunningService, GetsTheCommandsOfEachConnectionInOrder) {
    Participant other;
    ASSERT_TRUE(other.join());
    std::vector<std::string> left;
    std::vector<std::string> right;
    for (int i = 0; i < 100; ++i) {
        left.push_back("left-" + std::to_string(i));
        right.push_back("right-" + std::to_string(i));
    }
    const auto inspectAll = [](ZUVModelAccess& access, const std::vector<std::string>& sessions) {
        for (const std::string& session : sessions)
            access.publish(kCommandTopic, commandOf("inspect", session));
    };

    std::thread thread(inspectAll, std::ref(other.access), std::cref(left));
    inspectAll(access(), right);
    thread.join();

    ASSERT_TRUE(isAnswered(left.back(), kPatience) && isAnswered(right.back(), kPatience));
    EXPECT_EQ(answeredSessionsOf("left-"), left);
    EXPECT_EQ(answeredSessionsOf("right-"), right);
}

// What comes later counts as no answer. The quickest of some: a busy machine adds to each.
TEST_F(RunningService, AnswersWhileTheClientWaits) {
    auto quickest = Clock::duration::max();
    for (int i = 0; i < 10; ++i) {
        const std::string session = nextSession();
        const auto begin = Clock::now();
        inspect(session);
        ASSERT_TRUE(isAnswered(session, kPatience));
        quickest = std::min(quickest, Clock::now() - begin);
    }

    EXPECT_LT(quickest, 200ms);
}

} // namespace
} // namespace velmora::platform_test
