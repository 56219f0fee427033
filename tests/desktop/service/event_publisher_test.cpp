#include "base/random_token.h"
#include "service/event_publisher.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <thread>

namespace velmora::desktop {
namespace {

using Clock = std::chrono::steady_clock;

Event eventNamed(const std::string& name) {
    Event event;
    event.name = name;
    return event;
}

/// A publisher on an event loop that the test turns by hand.
class EventPublisherTest : public testing::Test {
protected:
    struct Sent {
        std::vector<std::string> values;
        std::string inRegion; ///< what shared memory held when it was sent
        Clock::time_point when;
    };

    EventPublisherTest() {
        sd_event* loop = nullptr;
        requireSuccess(sd_event_new(&loop), "no loop");
        m_loop.reset(loop);
        playScenario("[]");
    }

    void playScenario(const std::string& rules) {
        m_publisher.emplace(
            m_loop.get(), m_region,
            [this](const std::vector<std::string>& values) {
                m_sent.push_back({values, regionText(), Clock::now()});
            },
            parseScenario(R"({"description": "", "rules": )" + rules + "}"),
            [this](ServiceAction action) { m_deeds.push_back(action); });
    }

    /// Has every answer handled as the one step says, and turns until an event without a rule is out.
    void publishWithStep(const std::string& step) {
        playScenario(R"([{"nth": 1, "steps": [)" + step + "]}]");
        m_publisher->publish(eventNamed("answer"));
        m_publisher->publish(eventNamed("last"));
        const auto limit = Clock::now() + std::chrono::seconds(20);
        while ((m_sent.empty() || m_sent.back().values.at(0) != "last") && Clock::now() < limit)
            sd_event_run(m_loop.get(), 1'000'000);
    }
    ~EventPublisherTest() override { shm_unlink(m_name.c_str()); }

    std::string regionText() const {
        std::array<char, EventRegion::kSize> bytes{};
        const FileDescriptor region(shm_open(m_name.c_str(), O_RDONLY, 0));
        EXPECT_EQ(pread(region.get(), bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
        return bytes.data();
    }

    void turnUntilSent(std::size_t count) {
        const auto limit = Clock::now() + std::chrono::seconds(20);
        while (m_sent.size() < count && Clock::now() < limit)
            sd_event_run(m_loop.get(), 1'000'000);
        ASSERT_EQ(m_sent.size(), count);
    }

    const std::string m_name = "/zuv-test-" + randomToken();
    EventRegion m_region{m_name};
    EventLoop m_loop;
    std::vector<Sent> m_sent;
    std::vector<ServiceAction> m_deeds;
    std::optional<EventPublisher> m_publisher;
};

TEST_F(EventPublisherTest, WritesTheRegionBeforeItSends) {
    Event event = eventNamed("started");
    event.session = "ses-1";
    m_publisher->publish(event);
    turnUntilSent(1);
    EXPECT_EQ(m_sent[0].values, toValues(event));
    EXPECT_EQ(m_sent[0].inRegion, toJson(toValues(event)));
}

TEST_F(EventPublisherTest, LeavesTheRegionAndTheScenarioAloneWithWhatGoesOnTheBusOnly) {
    playScenario(R"([{"nth": 1, "steps": []}])");
    const std::string before = regionText();
    m_publisher->publishOnBusOnly(eventNamed("unknown"));
    m_publisher->publish(eventNamed("first"));
    m_publisher->publish(eventNamed("second"));
    turnUntilSent(2);
    EXPECT_EQ(m_sent[0].values, toValues(eventNamed("unknown")));
    EXPECT_EQ(m_sent[0].inRegion, before);
    EXPECT_EQ(m_sent[1].values[0], "second") << "the first answer is what the scenario withholds";
}

TEST_F(EventPublisherTest, SendsOnTheLoopOnly) {
    m_publisher->publish(eventNamed("started"));
    EXPECT_TRUE(m_sent.empty());
}

TEST_F(EventPublisherTest, KeepsTheOrderOfEachThread) {
    constexpr int kEach = 50;
    std::vector<std::jthread> threads;
    for (const char* name : {"a", "b", "c"})
        threads.emplace_back([this, name] {
            for (int i = 0; i < kEach; ++i) {
                Event event = eventNamed(name);
                event.detail = std::to_string(i);
                m_publisher->publish(event);
            }
        });
    turnUntilSent(3 * kEach);
    for (const char* name : {"a", "b", "c"}) {
        int next = 0;
        for (const Sent& sent : m_sent) {
            if (sent.values[0] == name) {
                EXPECT_EQ(sent.values[8], std::to_string(next++));
            }
        }
    }
}

TEST_F(EventPublisherTest, SendsWhatDoesNotFitTheRegionShortenedBothChannels) {
    Event event = eventNamed("started");
    event.detail = std::string(10'000, 'x');
    m_publisher->publish(event);
    turnUntilSent(1);
    EXPECT_LT(m_sent[0].values[8].size(), 4096U);
    EXPECT_EQ(m_sent[0].inRegion, toJson(m_sent[0].values));
}

TEST_F(EventPublisherTest, HoldsNewsBack) {
    const auto subject = std::make_shared<int>();
    m_publisher->publish(eventNamed("started"));
    m_publisher->publishLater(eventNamed("definition"), subject);
    turnUntilSent(2);
    EXPECT_EQ(m_sent[1].values[0], "definition");
    EXPECT_EQ(m_sent[1].inRegion, toJson(m_sent[1].values));
    EXPECT_GE(m_sent[1].when - m_sent[0].when, EventPublisher::kNewsDelay);
}

TEST_F(EventPublisherTest, HoldsNewsBackBehindAFreshAnswer) {
    const auto subject = std::make_shared<int>();
    m_publisher->publishLater(eventNamed("definition"), subject);
    const auto almostDue = Clock::now() + EventPublisher::kNewsDelay - std::chrono::milliseconds(20);
    while (Clock::now() < almostDue)
        sd_event_run(m_loop.get(), 1000);
    m_publisher->publish(eventNamed("seeked"));
    turnUntilSent(2);
    // On a busy machine the news may have been due, and gone, before the answer.
    if (m_sent[1].values[0] == "definition") {
        EXPECT_GE(m_sent[1].when - m_sent[0].when, EventPublisher::kAnswerHold);
    }
}

TEST_F(EventPublisherTest, DropsNewsOfWhatIsGone) {
    auto gone = std::make_shared<int>();
    const auto stays = std::make_shared<int>();
    m_publisher->publishLater(eventNamed("gone"), gone);
    m_publisher->publishLater(eventNamed("stays"), stays);
    gone.reset();
    turnUntilSent(1);
    EXPECT_EQ(m_sent[0].values[0], "stays");
}

TEST_F(EventPublisherTest, StillSendsWhatTheRegionCannotTake) {
    Event event = eventNamed("started");
    event.session = std::string(5000, 's');
    m_publisher->publish(event);
    turnUntilSent(1);
    EXPECT_EQ(m_sent[0].values[2], event.session);
    EXPECT_EQ(m_sent[0].inRegion, "");
}

TEST_F(EventPublisherTest, DeliversAnAnswerAsOftenAsTheScenarioSays) {
    publishWithStep(R"({"do": "answer", "times": 2, "code": "500"})");
    ASSERT_EQ(m_sent.size(), 3U);
    EXPECT_EQ(m_sent[0].values[1], "500");
    EXPECT_EQ(m_sent[1].values, m_sent[0].values);
    EXPECT_EQ(m_sent[1].inRegion, toJson(m_sent[0].values));
}

TEST_F(EventPublisherTest, DeliversAnAnswerOnTheBusOnly) {
    publishWithStep(R"({"do": "answer", "channels": "bus"})");
    ASSERT_EQ(m_sent.size(), 2U);
    EXPECT_EQ(m_sent[0].values[0], "answer");
    EXPECT_EQ(m_sent[0].inRegion, "");
}

TEST_F(EventPublisherTest, DeliversAnAnswerInSharedMemoryOnly) {
    playScenario(R"([{"steps": [{"do": "answer", "channels": "memory"}]}])");
    m_publisher->publish(eventNamed("answer"));
    sd_event_run(m_loop.get(), 1'000'000);
    EXPECT_TRUE(m_sent.empty());
    EXPECT_EQ(regionText(), toJson(toValues(eventNamed("answer"))));
}

TEST_F(EventPublisherTest, DistortsSharedMemoryAndNotTheBus) {
    publishWithStep(R"({"do": "answer", "memory": "not_json"})");
    ASSERT_EQ(m_sent.size(), 2U);
    EXPECT_EQ(m_sent[0].values, toValues(eventNamed("answer")));
    EXPECT_EQ(m_sent[0].inRegion, "this is no JSON");
}

TEST_F(EventPublisherTest, CarriesOutTheActionsOfTheScenario) {
    publishWithStep(R"({"do": "remove_memory"})");
    EXPECT_EQ(m_deeds, std::vector<ServiceAction>{ServiceAction::RemoveMemory});
    EXPECT_EQ(m_sent.size(), 1U);
}

TEST_F(EventPublisherTest, NewsIsOutsideTheScenario) {
    playScenario(R"([{"steps": []}])");
    const auto subject = std::make_shared<int>();
    m_publisher->publishLater(eventNamed("definition"), subject);
    turnUntilSent(1);
    EXPECT_EQ(m_sent[0].values[0], "definition");
}

} // namespace
} // namespace velmora::desktop
