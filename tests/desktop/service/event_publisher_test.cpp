#include "desktop/service/publisher_test.h"

namespace velmora::desktop {
namespace {

class EventPublisherTest : public PublisherTest {
protected:
    void answer(const Event& event) { m_publisher.publishAnswer(CommandName::Start, event); }
};

TEST_F(EventPublisherTest, WritesTheRegionBeforeItSends) {
    Event event = eventNamed("started");
    event.session = "ses-1";
    answer(event);
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_EQ(m_sent[0].values, toValues(event));
    EXPECT_EQ(m_sent[0].inRegion, toJson(toValues(event)));
}

TEST_F(EventPublisherTest, LeavesTheRegionAloneWithARefusal) {
    const std::string before = regionText();
    m_publisher.publishRefusal(eventNamed("unknown"));
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_EQ(m_sent[0].values, toValues(eventNamed("unknown")));
    EXPECT_EQ(m_sent[0].inRegion, before);
}

TEST_F(EventPublisherTest, SendsWhatDoesNotFitTheRegionShortenedBothChannels) {
    Event event = eventNamed("started");
    event.detail = std::string(10'000, 'x');
    answer(event);
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_LT(m_sent[0].values[event_entry::kDetail].size(), 4096U);
    EXPECT_EQ(m_sent[0].inRegion, toJson(m_sent[0].values));
}

TEST_F(EventPublisherTest, HoldsNewsBack) {
    const auto subject = std::make_shared<int>();
    answer(eventNamed("started"));
    m_publisher.publishNews(eventNamed("definition"), subject);
    runUntilSent(2);
    EXPECT_EQ(m_sent[1].values[event_entry::kName], "definition");
    EXPECT_EQ(m_sent[1].inRegion, toJson(m_sent[1].values));
    EXPECT_GE(m_sent[1].when - m_sent[0].when, EventPublisher::kNewsDelay);
}

/// Has news come due shortly after what `sendAnswer` sends.
class HeldNewsTest : public EventPublisherTest {
protected:
    template <typename SendAnswer>
    void expectHeldBehind(SendAnswer sendAnswer) {
        const auto subject = std::make_shared<int>();
        m_publisher.publishNews(eventNamed("definition"), subject);
        const auto almostDue = Clock::now() + EventPublisher::kNewsDelay - std::chrono::milliseconds(20);
        while (Clock::now() < almostDue)
            runOnce(std::chrono::milliseconds(1));
        sendAnswer();
        runUntilSent(2);
        // On a busy machine the news may have been due, and gone, before the answer.
        if (m_sent[1].values[event_entry::kName] == "definition") {
            EXPECT_GE(m_sent[1].when - m_sent[0].when, EventPublisher::kAnswerHold);
        }
    }
};

TEST_F(HeldNewsTest, StaysBehindAFreshAnswer) {
    expectHeldBehind([this] { answer(eventNamed("seeked")); });
}

TEST_F(HeldNewsTest, StaysBehindWhatIsSentInPlaceOfAnAnswer) {
    expectHeldBehind([this] { m_publisher.sendAnswer({std::nullopt, toValues(eventNamed("seeked"))}); });
}

TEST_F(EventPublisherTest, DropsNewsOfWhatIsGone) {
    auto gone = std::make_shared<int>();
    const auto stays = std::make_shared<int>();
    m_publisher.publishNews(eventNamed("gone"), gone);
    m_publisher.publishNews(eventNamed("stays"), stays);
    gone.reset();
    runUntilSent(1);
    EXPECT_EQ(m_sent[0].values[event_entry::kName], "stays");
}

TEST_F(EventPublisherTest, StillSendsWhatTheRegionCannotTake) {
    Event event = eventNamed("started");
    event.session = std::string(5000, 's');
    answer(event);
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_EQ(m_sent[0].values[event_entry::kSession], event.session);
    EXPECT_EQ(m_sent[0].inRegion, "");
}

TEST_F(EventPublisherTest, LogsWhatItSent) {
    Event event = eventNamed("started");
    event.session = "ses-1";
    event.detail = "OK";
    answer(event);
    m_publisher.publishRefusal(eventNamed("unknown"));
    EXPECT_EQ(m_log.text(),
              "debug event sent in memory and on the bus: name=\"started\" code=\"200\" session=\"ses-1\" "
              "object=\"\" kind=\"\" detail=\"OK\"\n"
              "debug event sent on the bus only: name=\"unknown\" code=\"200\" session=\"\" object=\"\" "
              "kind=\"\" detail=\"\"\n");
}

TEST_F(EventPublisherTest, LogsOtherOutputAsItWasSent) {
    m_publisher.sendAnswer({"no JSON", {{"started", "500"}}});
    m_publisher.sendAnswer({"no JSON", std::nullopt});
    m_publisher.sendAnswer({std::string(300, 'x'), std::vector<std::string>()});
    EXPECT_EQ(m_log.text(),
              "warning event sent in memory and on the bus: name=\"started\" code=\"500\" text=\"no JSON\"\n"
              "debug event sent in memory only: text=\"no JSON\"\n"
              "debug event sent in memory and on the bus: text=\"" +
                  std::string(200, 'x') + "\"...\n");
}

TEST_F(EventPublisherTest, DoesNotLogAsSentWhatCouldNotBe) {
    m_canSend = false;
    m_publisher.sendAnswer({std::string(5000, 'x'), {{"started"}}});
    m_publisher.sendAnswer({"text", {{"started"}}});
    EXPECT_EQ(m_log.text(), "error event not in shared memory: event text of 5000 bytes\n"
                            "debug event not sent\n"
                            "debug event sent in memory only: text=\"text\"\n");
}

TEST_F(EventPublisherTest, SendsOtherOutputInTheWaysThatItHas) {
    m_publisher.sendAnswer({"in memory", std::nullopt});
    EXPECT_TRUE(m_sent.empty());
    EXPECT_EQ(regionText(), "in memory");
    m_publisher.sendAnswer({std::nullopt, {{"on the bus"}}});
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_EQ(m_sent[0].values, std::vector<std::string>{"on the bus"});
    EXPECT_EQ(m_sent[0].inRegion, "in memory");
}

} // namespace
} // namespace velmora::desktop
