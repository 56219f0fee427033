#include "desktop/service/publisher_test.h"
#include "service/event_queue.h"

#include <thread>

namespace velmora::desktop {
namespace {

class EventQueueTest : public PublisherTest {
protected:
    EventQueue m_queue{m_loop.get(), m_publisher};
};

TEST_F(EventQueueTest, PublishesOnTheLoopOnly) {
    m_queue.publishAnswer(CommandName::Start, eventNamed("started"));
    EXPECT_TRUE(m_sent.empty());
    runUntilSent(1);
    EXPECT_EQ(m_sent[0].values, toValues(eventNamed("started")));
}

TEST_F(EventQueueTest, KeepsTheOrderOfAnswersAndRefusals) {
    m_queue.publishRefusal(eventNamed("first"));
    m_queue.publishAnswer(CommandName::Start, eventNamed("second"));
    m_queue.publishRefusal(eventNamed("third"));
    runUntilSent(3);
    EXPECT_EQ(m_sent[0].values[event_entry::kName], "first");
    EXPECT_EQ(m_sent[0].inRegion, "") << "a refusal stays a refusal";
    EXPECT_EQ(m_sent[1].values[event_entry::kName], "second");
    EXPECT_EQ(m_sent[2].values[event_entry::kName], "third");
}

TEST_F(EventQueueTest, LeavesNewsToItsTimeAndSubject) {
    auto gone = std::make_shared<int>();
    const auto stays = std::make_shared<int>();
    const auto begin = Clock::now();
    m_queue.publishNews(eventNamed("gone"), gone);
    m_queue.publishNews(eventNamed("stays"), stays);
    gone.reset();
    runUntilSent(1);
    EXPECT_EQ(m_sent[0].values[event_entry::kName], "stays");
    EXPECT_GE(m_sent[0].when - begin, EventPublisher::kNewsDelay);
}

TEST_F(EventQueueTest, KeepsTheOrderOfEachThread) {
    constexpr int kEach = 50;
    std::vector<std::jthread> threads;
    for (const char* name : {"a", "b", "c"})
        threads.emplace_back([this, name] {
            for (int i = 0; i < kEach; ++i) {
                Event event = eventNamed(name);
                event.detail = std::to_string(i);
                m_queue.publishAnswer(CommandName::Start, event);
            }
        });
    runUntilSent(3 * kEach);
    for (const char* name : {"a", "b", "c"}) {
        int next = 0;
        for (const Sent& sent : m_sent) {
            if (sent.values[event_entry::kName] == name) {
                EXPECT_EQ(sent.values[event_entry::kDetail], std::to_string(next++));
            }
        }
    }
}

} // namespace
} // namespace velmora::desktop
