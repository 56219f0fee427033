#include "service/scenario/scenario_player.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

using Clock = std::chrono::steady_clock;

/// A player on an event loop that the test turns by hand, and a journal of what it does.
class ScenarioPlayerTest : public testing::Test {
protected:
    ScenarioPlayerTest() {
        sd_event* loop = nullptr;
        requireSuccess(sd_event_new(&loop), "no loop");
        m_loop.reset(loop);
    }

    void load(const std::string& rules) {
        m_player.emplace(m_loop.get(), parseScenario(R"({"description": "", "rules": )" + rules + "}"),
                         ScenarioPlayer::Handlers{
                             [this](const Event& event, const Delivery& delivery) {
                                 const std::string code =
                                     delivery.replaced.contains(1) ? " " + delivery.replaced.at(1) : "";
                                 m_journal.push_back((delivery.isAnswer ? "" : "event ") + event.session + code);
                             },
                             [this](ServiceAction action) {
                                 m_journal.push_back("action " + std::to_string(static_cast<int>(action)));
                             }});
    }

    void answer(const std::string& session, CommandName name = CommandName::Start,
                const std::string& kind = "main_video") {
        Event event;
        event.session = session;
        event.kind = kind;
        event.command = name;
        m_player->play(event);
    }

    void turnUntil(std::size_t entries) {
        const auto limit = Clock::now() + std::chrono::seconds(20);
        while (m_journal.size() < entries && Clock::now() < limit)
            sd_event_run(m_loop.get(), 1'000'000);
        ASSERT_GE(m_journal.size(), entries);
    }

    using Journal = std::vector<std::string>;
    EventLoop m_loop;
    std::optional<ScenarioPlayer> m_player;
    Journal m_journal;
};

TEST_F(ScenarioPlayerTest, DeliversEveryAnswerWithoutRules) {
    load("[]");
    answer("a");
    answer("b", CommandName::Create, "");
    EXPECT_EQ(m_journal, (Journal{"a", "b"}));
}

TEST_F(ScenarioPlayerTest, AppliesToTheNthCommandOfThatNameAndKind) {
    load(R"([{"command": "start", "kind": "advertisement", "nth": 2,
              "steps": [{"do": "answer", "code": "x"}]}])");
    answer("main");
    answer("first", CommandName::Start, "advertisement");
    answer("preload", CommandName::Preload, "advertisement");
    answer("second", CommandName::Start, "advertisement");
    answer("third", CommandName::Start, "advertisement");
    EXPECT_EQ(m_journal, (Journal{"main", "first", "preload", "second x", "third"}));
}

TEST_F(ScenarioPlayerTest, AppliesToEveryCommandWithoutNth) {
    load(R"([{"command": "stop", "steps": [{"do": "answer", "code": "x"}]}])");
    answer("a", CommandName::Stop);
    answer("b", CommandName::Stop, "advertisement");
    EXPECT_EQ(m_journal, (Journal{"a x", "b x"}));
}

TEST_F(ScenarioPlayerTest, CountsCommandsOfAnyNameAndKind) {
    load(R"([{"nth": 3, "steps": []}])");
    answer("a", CommandName::Create, "");
    answer("b");
    answer("c", CommandName::Stop, "advertisement");
    answer("d");
    EXPECT_EQ(m_journal, (Journal{"a", "b", "d"}));
}

TEST_F(ScenarioPlayerTest, FirstRuleThatFitsAppliesAndAllCount) {
    load(R"([{"nth": 1, "steps": [{"do": "answer", "code": "one"}]},
             {"nth": 1, "steps": [{"do": "answer", "code": "never"}]},
             {"nth": 2, "steps": [{"do": "answer", "code": "two"}]}])");
    answer("a");
    answer("b");
    EXPECT_EQ(m_journal, (Journal{"a one", "b two"}));
}

TEST_F(ScenarioPlayerTest, TakesTheStepsInTheirOrder) {
    load(R"([{"nth": 1, "steps": [{"do": "event", "name": "status"}, {"do": "answer"}, {"do": "abort"}]}])");
    answer("a");
    EXPECT_EQ(m_journal, (Journal{"event a", "a", "action 2"}));
}

TEST_F(ScenarioPlayerTest, LetsOtherAnswersPassWhileOneWaitsForItsTime) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "milliseconds": 50}, {"do": "answer"}]}])");
    const auto begin = Clock::now();
    answer("a");
    answer("b");
    EXPECT_EQ(m_journal, Journal{"b"});
    turnUntil(2);
    EXPECT_EQ(m_journal, (Journal{"b", "a"}));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(ScenarioPlayerTest, WaitsMoreThanOnceForOneAnswer) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "milliseconds": 1}, {"do": "event", "name": "status"},
                                  {"do": "wait", "milliseconds": 1}, {"do": "answer"}]}])");
    answer("a");
    turnUntil(2);
    EXPECT_EQ(m_journal, (Journal{"event a", "a"}));
}

TEST_F(ScenarioPlayerTest, HoldsAnAnswerBackUntilOthersHaveGone) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "answers": 2}, {"do": "answer"}]}])");
    answer("a");
    answer("b");
    EXPECT_EQ(m_journal, Journal{"b"});
    answer("c");
    EXPECT_EQ(m_journal, (Journal{"b", "c", "a"}));
}

TEST_F(ScenarioPlayerTest, UnaskedEventsAndMissingAnswersAreNotWaitedFor) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "answers": 1}, {"do": "answer"}]},
             {"nth": 2, "steps": [{"do": "event", "name": "status"}]}])");
    answer("a");
    answer("b");
    EXPECT_EQ(m_journal, Journal{"event b"});
    answer("c");
    EXPECT_EQ(m_journal, (Journal{"event b", "c", "a"}));
}

TEST_F(ScenarioPlayerTest, AnAnswerThatWaitedIsWaitedForByOthers) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "answers": 2}, {"do": "answer"}]},
             {"nth": 2, "steps": [{"do": "wait", "answers": 1}, {"do": "answer"}]}])");
    answer("a");
    answer("b");
    EXPECT_TRUE(m_journal.empty());
    answer("c");
    EXPECT_EQ(m_journal, (Journal{"c", "b", "a"}));
}

TEST_F(ScenarioPlayerTest, EndsWhileAnswersWait) {
    load(R"([{"steps": [{"do": "wait", "milliseconds": 1}, {"do": "answer"}]}])");
    answer("a");
    m_player.reset();
    sd_event_run(m_loop.get(), 5000);
    EXPECT_TRUE(m_journal.empty());
}

} // namespace
} // namespace velmora::desktop
