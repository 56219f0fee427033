#include "desktop/service/publisher_test.h"
#include "service/scenario/scenario_player.h"

#include <optional>

namespace velmora::desktop {
namespace {

/// A player in front of a publisher. Events are known by their object, the actions of the service by their number.
class ScenarioPlayerTest : public PublisherTest {
protected:
    using Journal = std::vector<std::string>;

    void load(const std::string& rules) {
        const auto record = [this](ServiceAction action) { m_actions.push_back({action, m_sent.size()}); };
        m_player.emplace(m_loop.get(), parseScenario(R"({"description": "", "rules": )" + rules + "}"), m_publisher,
                         record);
    }

    void answer(const std::string& object, CommandName name = CommandName::Start,
                const std::string& kind = "main_video") {
        Event event = eventNamed("answer");
        event.objectId = object;
        event.session = "ses-1";
        event.kind = kind;
        m_player->publishAnswer(name, event);
    }

    /// What has been sent: "OBJECT" for an answer, "OBJECT CODE" for one with another code than 200, and "event OBJECT"
    /// for other events.
    Journal journal() const {
        Journal journal;
        for (const Sent& sent : m_sent) {
            const std::string code = sent.values[event_entry::kCode];
            journal.push_back((sent.values[event_entry::kName] == "answer" ? "" : "event ") +
                              sent.values[event_entry::kObject] + (code == "200" ? "" : " " + code));
        }
        return journal;
    }

    struct Action {
        ServiceAction action;
        std::size_t sentBefore;
    };

    std::optional<ScenarioPlayer> m_player;
    std::vector<Action> m_actions;
};

TEST_F(ScenarioPlayerTest, DeliversEveryAnswerWithoutRules) {
    load("[]");
    answer("a");
    answer("b", CommandName::Create, "");
    EXPECT_EQ(journal(), (Journal{"a", "b"}));
}

TEST_F(ScenarioPlayerTest, LogsWhatIsSentInsteadOfTheAnswer) {
    load(R"([{"command": "stop", "steps": [{"do": "answer", "code": "x"}]}, {"command": "start", "steps": []}])");
    answer("a", CommandName::Stop);
    EXPECT_NE(m_log.text().find("name=\"answer\" code=\"x\" session=\"ses-1\" object=\"a\""), std::string::npos);
    EXPECT_EQ(m_log.text().find("code=\"200\""), std::string::npos) << m_log.text();
    m_log.clear();
    answer("b");
    EXPECT_EQ(m_log.text(), "info scenario applies to the answer name=answer session=\"ses-1\": nothing is sent\n");
}

TEST_F(ScenarioPlayerTest, AppliesToTheNthCommandOfThatNameAndKind) {
    load(R"([{"command": "start", "kind": "advertisement", "nth": 2,
              "steps": [{"do": "answer", "code": "x"}]}])");
    answer("main");
    answer("first", CommandName::Start, "advertisement");
    answer("preload", CommandName::Preload, "advertisement");
    answer("second", CommandName::Start, "advertisement");
    answer("third", CommandName::Start, "advertisement");
    EXPECT_EQ(journal(), (Journal{"main", "first", "preload", "second x", "third"}));
}

TEST_F(ScenarioPlayerTest, AppliesToEveryCommandWithoutNth) {
    load(R"([{"command": "stop", "steps": [{"do": "answer", "code": "x"}]}])");
    answer("a", CommandName::Stop);
    answer("b", CommandName::Stop, "advertisement");
    EXPECT_EQ(journal(), (Journal{"a x", "b x"}));
}

TEST_F(ScenarioPlayerTest, CountsCommandsOfAnyNameAndKind) {
    load(R"([{"nth": 3, "steps": []}])");
    answer("a", CommandName::Create, "");
    answer("b");
    answer("c", CommandName::Stop, "advertisement");
    answer("d");
    EXPECT_EQ(journal(), (Journal{"a", "b", "d"}));
}

TEST_F(ScenarioPlayerTest, FirstRuleThatFitsAppliesAndAllCount) {
    load(R"([{"nth": 1, "steps": [{"do": "answer", "code": "one"}]},
             {"nth": 1, "steps": [{"do": "answer", "code": "never"}]},
             {"nth": 2, "steps": [{"do": "answer", "code": "two"}]}])");
    answer("a");
    answer("b");
    EXPECT_EQ(journal(), (Journal{"a one", "b two"}));
}

TEST_F(ScenarioPlayerTest, TakesTheStepsInTheirOrder) {
    load(R"([{"nth": 1, "steps": [{"do": "event", "name": "status"}, {"do": "answer"}, {"do": "abort"}]}])");
    answer("a");
    EXPECT_EQ(journal(), (Journal{"event a", "a"}));
    ASSERT_EQ(m_actions.size(), 1U);
    EXPECT_EQ(m_actions[0].action, ServiceAction::Abort);
    EXPECT_EQ(m_actions[0].sentBefore, 2U);
}

TEST_F(ScenarioPlayerTest, LetsOtherAnswersPassWhileOneWaitsForItsTime) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "milliseconds": 50}, {"do": "answer"}]}])");
    const auto begin = Clock::now();
    answer("a");
    answer("b");
    EXPECT_EQ(journal(), Journal{"b"});
    runUntilSent(2);
    EXPECT_EQ(journal(), (Journal{"b", "a"}));
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(50));
}

TEST_F(ScenarioPlayerTest, WaitsMoreThanOnceForOneAnswer) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "milliseconds": 1}, {"do": "event", "name": "status"},
                                  {"do": "wait", "milliseconds": 1}, {"do": "answer"}]}])");
    answer("a");
    runUntilSent(2);
    EXPECT_EQ(journal(), (Journal{"event a", "a"}));
}

TEST_F(ScenarioPlayerTest, HoldsAnAnswerBackUntilOthersHaveGone) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "answers": 2}, {"do": "answer"}]}])");
    answer("a");
    answer("b");
    EXPECT_EQ(journal(), Journal{"b"});
    answer("c");
    EXPECT_EQ(journal(), (Journal{"b", "c", "a"}));
}

TEST_F(ScenarioPlayerTest, UnaskedEventsAndMissingAnswersAreNotWaitedFor) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "answers": 1}, {"do": "answer"}]},
             {"nth": 2, "steps": [{"do": "event", "name": "status"}]}])");
    answer("a");
    answer("b");
    EXPECT_EQ(journal(), Journal{"event b"});
    answer("c");
    EXPECT_EQ(journal(), (Journal{"event b", "c", "a"}));
}

TEST_F(ScenarioPlayerTest, AnAnswerThatWaitedIsWaitedForByOthers) {
    load(R"([{"nth": 1, "steps": [{"do": "wait", "answers": 2}, {"do": "answer"}]},
             {"nth": 2, "steps": [{"do": "wait", "answers": 1}, {"do": "answer"}]}])");
    answer("a");
    answer("b");
    EXPECT_TRUE(m_sent.empty());
    answer("c");
    EXPECT_EQ(journal(), (Journal{"c", "b", "a"}));
}

TEST_F(ScenarioPlayerTest, EndsWhileAnswersWait) {
    load(R"([{"steps": [{"do": "wait", "milliseconds": 1}, {"do": "answer"}]}])");
    answer("a");
    m_player.reset();
    runOnce(std::chrono::milliseconds(5));
    EXPECT_TRUE(m_sent.empty());
}

TEST_F(ScenarioPlayerTest, PassesOnUnchangedWhatNoRuleIsAbout) {
    load(R"([{"command": "stop", "steps": []}])");
    Event event = eventNamed("started");
    event.session = "ses-1";
    m_player->publishAnswer(CommandName::Start, event);
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_EQ(m_sent[0].values, toValues(event));
    EXPECT_EQ(m_sent[0].inRegion, toJson(toValues(event)));
}

TEST_F(ScenarioPlayerTest, DeliversAnAnswerAsOftenAsTheScenarioSays) {
    load(R"([{"nth": 1, "steps": [{"do": "answer", "times": 2, "code": "500"}]}])");
    answer("a");
    ASSERT_EQ(journal(), (Journal{"a 500", "a 500"}));
    EXPECT_EQ(m_sent[1].values, m_sent[0].values);
    EXPECT_EQ(m_sent[1].inRegion, toJson(m_sent[0].values));
}

TEST_F(ScenarioPlayerTest, DeliversAnAnswerOnTheBusOnly) {
    load(R"([{"nth": 1, "steps": [{"do": "answer", "channels": "bus"}]}])");
    answer("a");
    ASSERT_EQ(journal(), Journal{"a"});
    EXPECT_EQ(m_sent[0].inRegion, "");
}

TEST_F(ScenarioPlayerTest, DeliversAnAnswerInSharedMemoryOnly) {
    load(R"([{"steps": [{"do": "answer", "channels": "memory"}]}])");
    m_player->publishAnswer(CommandName::Start, eventNamed("answer"));
    EXPECT_TRUE(m_sent.empty());
    EXPECT_EQ(regionText(), toJson(toValues(eventNamed("answer"))));
}

TEST_F(ScenarioPlayerTest, DistortsSharedMemoryAndNotTheBus) {
    load(R"([{"steps": [{"do": "answer", "memory": "not_json"}]}])");
    m_player->publishAnswer(CommandName::Start, eventNamed("answer"));
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_EQ(m_sent[0].values, toValues(eventNamed("answer")));
    EXPECT_EQ(m_sent[0].inRegion, "this is no JSON");
}

TEST_F(ScenarioPlayerTest, ShortensADistortedAnswerAsAnyOther) {
    load(R"([{"steps": [{"do": "answer", "code": "500"}]}])");
    Event event = eventNamed("answer");
    event.detail = std::string(10'000, 'x');
    m_player->publishAnswer(CommandName::Start, event);
    ASSERT_EQ(m_sent.size(), 1U);
    EXPECT_LT(m_sent[0].values[event_entry::kDetail].size(), 4096U);
    EXPECT_EQ(m_sent[0].inRegion, toJson(m_sent[0].values));
}

TEST_F(ScenarioPlayerTest, RefusalsAreOutsideTheScenario) {
    load(R"([{"nth": 1, "steps": []}])");
    const std::string before = regionText();
    m_player->publishRefusal(eventNamed("unknown"));
    answer("first");
    answer("second");
    ASSERT_EQ(m_sent.size(), 2U);
    EXPECT_EQ(m_sent[0].values, toValues(eventNamed("unknown")));
    EXPECT_EQ(m_sent[0].inRegion, before);
    EXPECT_EQ(journal().back(), "second") << "the first answer is what the scenario withholds";
}

TEST_F(ScenarioPlayerTest, NewsIsOutsideTheScenario) {
    load(R"([{"steps": []}])");
    const auto subject = std::make_shared<int>();
    m_player->publishNews(eventNamed("definition"), subject);
    runUntilSent(1);
    EXPECT_EQ(m_sent[0].values[event_entry::kName], "definition");
}

} // namespace
} // namespace velmora::desktop
