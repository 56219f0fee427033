// Every scenario that comes with the service. All but those that only distort the text in shared memory are played by
// a real process on a real bus: what the bus and the shared memory show. The media are simulated, and started as an
// advertisement, which brings no news of its own. Every test has a bus and a /dev/shm of its own.
#include "desktop/service/mapped_region.h"
#include "desktop/service/service_client.h"
#include "desktop/service/service_process.h"
#include "launcher/private_bus.h"
#include "service/ipc/event_region.h"
#include "service/protocol/event.h"
#include "service/scenario/scenario.h"
#include "service/scenario/scenario_files.h"
#include "support/test_files.h"
#include "support/text.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

namespace velmora::desktop {
namespace {

using Values = std::vector<std::string>;
using Clock = std::chrono::steady_clock;

constexpr const char* kAd = "advertisement";

class ScenarioFileTest : public testing::Test {
protected:
    ScenarioFileTest() { setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1); }

    /// Starts the service with the scenario; an object is created there.
    void play(const std::string& scenario) {
        m_service.emplace(CommandLine{"--engine", "simulated", "--scenario", scenario});
        m_client.emplace();
        m_client->awaitService();
        m_region.emplace();
        m_created = m_client->request("create", "");
    }

    std::string sendStart() { return m_client->send("start", m_created.object(), kAd, m_medium); }
    std::string sendStop() { return m_client->send("stop", m_created.object(), kAd); }

    /// What the bus shows of a start. The answer to the stop behind it ends the wait, and is left out.
    std::vector<Values> eventsOfStart() {
        m_session = sendStart();
        std::vector<Values> events;
        for (const ReceivedEvent& event : m_client->eventsUntil(sendStop()))
            events.push_back(event.values);
        EXPECT_EQ(events.back().at(0), "stopped");
        events.pop_back();
        return events;
    }

    /// The answer to a start that no scenario touches, but for the local URL, which is taken from `event`.
    Values properAnswer(const Values& event) const {
        const std::string localUrl = event.size() > 6 ? event[6] : "";
        EXPECT_TRUE(localUrl.starts_with("http://127.0.0.1:")) << localUrl;
        return {"started", "200", m_session, m_created.object(), "", "", localUrl, "", "OK", kAd, ""};
    }

    Values properAnswerWith(const Values& event, std::size_t position, const std::string& text) const {
        Values answer = properAnswer(event);
        answer.at(position) = text;
        return answer;
    }

    /// Starts, and returns what came on the bus as the answer; the region is to be looked at.
    Values startAndAwait() {
        m_session = sendStart();
        Values answer = m_client->answerTo(m_session).values;
        EXPECT_EQ(answer, properAnswer(answer));
        return answer;
    }

    const TemporaryFolder m_folder;
    const std::string m_medium = addFile(m_folder, "film.webm", "no film");
    const PrivateBus m_bus{ZUV_PROGRAMS_DIR};
    std::optional<OwnService> m_service;
    std::optional<ServiceClient> m_client;
    std::optional<MappedRegion> m_region;
    ReceivedEvent m_created;
    std::string m_session; ///< of the latest start
};

TEST_F(ScenarioFileTest, AnswerDelayed) {
    play("answer-delayed");
    const auto sent = Clock::now();
    m_session = sendStart();
    const ReceivedEvent answer = m_client->answerTo(m_session);
    EXPECT_GE(answer.when - sent, std::chrono::milliseconds(300));
    EXPECT_EQ(answer.values, properAnswer(answer.values));
    EXPECT_EQ(m_region->values(), answer.values);
}

TEST_F(ScenarioFileTest, AnswerWrongCode) {
    play("answer-wrong-code");
    const auto events = eventsOfStart();
    ASSERT_EQ(events.size(), 1U);
    Values expected = properAnswerWith(events[0], 1, "500");
    expected[8] = "The scenario says so";
    EXPECT_EQ(events[0], expected);
}

TEST_F(ScenarioFileTest, AnswerMissing) {
    play("answer-missing");
    EXPECT_TRUE(eventsOfStart().empty());
}

TEST_F(ScenarioFileTest, AnswerTwice) {
    play("answer-twice");
    const auto events = eventsOfStart();
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0], properAnswer(events[0]));
    EXPECT_EQ(events[1], events[0]);
}

TEST_F(ScenarioFileTest, AnswersOutOfOrder) {
    play("answers-out-of-order");
    m_session = sendStart();
    const std::string stop = sendStop();
    const auto events = m_client->eventsUntil(m_session);
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].session(), stop);
    EXPECT_EQ(events[1].values, properAnswer(events[1].values));
    EXPECT_EQ(m_region->values(), events[1].values);
}

TEST_F(ScenarioFileTest, AnswerOtherSession) {
    play("answer-other-session");
    const auto events = eventsOfStart();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0], properAnswerWith(events[0], 2, "ses-other"));
}

TEST_F(ScenarioFileTest, AnswerOtherObject) {
    play("answer-other-object");
    const auto events = eventsOfStart();
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0], properAnswerWith(events[0], 3, "obj-other"));
}

TEST_F(ScenarioFileTest, AnswerTooShort) {
    play("answer-too-short");
    m_session = sendStart();
    const Values answer = m_client->answerTo(m_session).values;
    EXPECT_EQ(answer, (Values{"started", "200", m_session}));
    EXPECT_EQ(m_region->text(), toJson(answer));
}

TEST_F(ScenarioFileTest, AnswerEmpty) {
    play("answer-empty");
    sendStart();
    EXPECT_TRUE(m_client->next("").values.empty());
    EXPECT_EQ(m_region->text(), "{}");
}

TEST_F(ScenarioFileTest, AnswerByBusOnly) {
    play("answer-by-bus-only");
    startAndAwait();
    EXPECT_EQ(m_region->values(), m_created.values);
}

TEST_F(ScenarioFileTest, AnswerByMemoryOnly) {
    play("answer-by-memory-only");
    m_session = sendStart();
    while (m_region->text().find(m_session) == std::string::npos)
        std::this_thread::yield();
    EXPECT_EQ(m_region->values(), properAnswer(m_region->values()));
    const std::string stop = sendStop();
    EXPECT_EQ(m_client->eventsUntil(stop).size(), 1U);
}

TEST_F(ScenarioFileTest, AnswerByBothChannels) {
    play("answer-by-both-channels");
    const Values answer = startAndAwait();
    EXPECT_EQ(m_region->values(), answer);
}

TEST_F(ScenarioFileTest, MemoryRemoved) {
    play("memory-removed");
    const ReceivedEvent status = m_client->request("inspect", "");
    EXPECT_FALSE(MappedRegion::exists());
    EXPECT_EQ(m_region->values(), status.values);
}

TEST_F(ScenarioFileTest, MemoryRecreated) {
    play("memory-recreated");
    const ReceivedEvent status = m_client->request("inspect", "");
    EXPECT_EQ(m_region->values(), m_created.values);
    EXPECT_EQ(MappedRegion().values(), status.values);
}

TEST_F(ScenarioFileTest, EventsStatusStorm) {
    play("events-status-storm");
    const auto events = eventsOfStart();
    ASSERT_EQ(events.size(), 1001U);
    EXPECT_EQ(events[0], properAnswer(events[0]));
    Values status = properAnswer(events[0]);
    status[0] = "status";
    status[2] = "";
    EXPECT_EQ(std::count(events.begin(), events.end(), status), 1000);
}

TEST_F(ScenarioFileTest, EventsDefinitions) {
    play("events-definitions");
    const auto events = eventsOfStart();
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[1], properAnswer(events[1]));
    Values definition = properAnswer(events[1]);
    definition[0] = "definition";
    definition[2] = "";
    definition[7] = R"([{"definition":"1080p","url":"http://127.0.0.1/before"}])";
    EXPECT_EQ(events[0], definition);
    definition[7] = R"([{"definition":"720p","url":"http://127.0.0.1/after"}])";
    EXPECT_EQ(events[2], definition);
}

TEST_F(ScenarioFileTest, EventsStartedAgain) {
    play("events-started-again");
    const auto sent = Clock::now();
    Values expected = startAndAwait();
    const ReceivedEvent again = m_client->next("started");
    EXPECT_GE(again.when - sent, std::chrono::milliseconds(100));
    expected[2] = "";
    EXPECT_EQ(again.values, expected);
    EXPECT_EQ(m_region->values(), expected);
}

TEST_F(ScenarioFileTest, ServiceFreezes) {
    play("service-freezes");
    m_session = sendStart();
    EXPECT_TRUE(WIFSTOPPED(m_service->awaitChange()));
    EXPECT_FALSE(m_client->hasEvent());
    EXPECT_EQ(m_region->values(), m_created.values);
    m_service->signal(SIGCONT);
    const Values answer = m_client->answerTo(m_session).values;
    EXPECT_EQ(answer, properAnswer(answer));
}

TEST_F(ScenarioFileTest, ServiceFreezesAfterAnswer) {
    play("service-freezes-after-answer");
    const Values answer = startAndAwait();
    EXPECT_EQ(m_region->values(), answer);
    EXPECT_TRUE(WIFSTOPPED(m_service->awaitChange()));
}

TEST_F(ScenarioFileTest, ServiceExits) {
    play("service-exits");
    sendStart();
    EXPECT_EQ(m_service->exitStatus(), 1);
    m_client->awaitNoService();
    EXPECT_FALSE(m_client->hasEvent());
    EXPECT_EQ(m_region->values(), m_created.values);
}

TEST_F(ScenarioFileTest, ServiceExitsAfterAnswer) {
    play("service-exits-after-answer");
    const Values answer = startAndAwait();
    EXPECT_EQ(m_region->values(), answer);
    EXPECT_EQ(m_service->exitStatus(), 1);
}

TEST_F(ScenarioFileTest, ServiceAborts) {
    play("service-aborts");
    sendStart();
    const int status = m_service->awaitChange();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT);
    m_client->awaitNoService();
    EXPECT_FALSE(m_client->hasEvent());
    EXPECT_EQ(m_region->values(), m_created.values);
}

std::map<std::string, std::filesystem::path> filesByScenario() {
    std::map<std::string, std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(ZUV_SCENARIOS))
        files[entry.path().stem()] = entry.path();
    return files;
}

/// The text that a file has shared memory hold. Its forms themselves are those of the Delivery tests.
const std::map<std::string, MemoryForm> kFormByScenario{{"memory-deep-nesting", MemoryForm::DeepNesting},
                                                        {"memory-nested-member", MemoryForm::NestedMember},
                                                        {"memory-no-zero-byte", MemoryForm::NoZeroByte},
                                                        {"memory-not-json", MemoryForm::NotJson},
                                                        {"memory-oversize", MemoryForm::Oversize},
                                                        {"memory-root-array", MemoryForm::RootArray},
                                                        {"memory-torn", MemoryForm::Torn}};

TEST(ScenarioFiles, NameTheFormOfTheTextInMemory) {
    for (const auto& [name, form] : kFormByScenario) {
        const Scenario scenario = loadScenario(filesByScenario().at(name));
        ASSERT_EQ(scenario.rules.size(), 1U) << name;
        const Rule& rule = scenario.rules[0];
        EXPECT_EQ(rule.command, CommandName::Start) << name;
        EXPECT_EQ(rule.nth, 1) << name;
        ASSERT_EQ(rule.steps.size(), 1U) << name;
        const Delivery& delivery = std::get<Delivery>(rule.steps[0]);
        EXPECT_EQ(delivery.form, form) << name;
        EXPECT_EQ(delivery.channels, Channels::Both) << name;
        EXPECT_TRUE(delivery.isAnswer) << name;
    }
}

TEST(ScenarioFiles, AreAllTested) {
    std::set<std::string> tests;
    const testing::UnitTest& all = *testing::UnitTest::GetInstance();
    for (int i = 0; i < all.total_test_suite_count(); ++i) {
        const testing::TestSuite& suite = *all.GetTestSuite(i);
        for (int j = 0; suite.name() == std::string("ScenarioFileTest") && j < suite.total_test_count(); ++j)
            tests.insert(suite.GetTestInfo(j)->name());
    }
    for (const auto& [scenario, form] : kFormByScenario)
        tests.insert(camelCase(scenario));
    std::set<std::string> expected;
    for (const auto& [scenario, file] : filesByScenario())
        expected.insert(camelCase(scenario));
    EXPECT_EQ(tests, expected);
}

class ScenarioList : public testing::TestWithParam<const char*> {};

TEST_P(ScenarioList, ExplainsEveryScenario) {
    const Output output = runProgram(GetParam(), "--list-scenarios");
    EXPECT_EQ(output.status, 0);
    std::istringstream lines(output.text);
    for (const auto& [scenario, file] : filesByScenario()) {
        std::string line;
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_TRUE(line.starts_with(scenario + " ")) << line;
        EXPECT_TRUE(line.ends_with("  " + loadScenario(file).description)) << line;
    }
    EXPECT_EQ(lines.peek(), std::char_traits<char>::eof());
}

INSTANTIATE_TEST_SUITE_P(OfProgram, ScenarioList, testing::Values("zuv-service", "zuv-desktop"));

TEST(ScenarioOption, RefusesAnInvalidFileBeforeAnythingStarts) {
    const TemporaryFolder folder;
    const std::string file = addFile(folder, "mine.json", R"({"description": "", "rules": 1})");
    const PrivateBus bus{ZUV_PROGRAMS_DIR};
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    MappedRegion::remove();
    const Output output = runProgram("zuv-service", "--scenario " + file);
    EXPECT_EQ(output.status, 1);
    EXPECT_NE(output.text.find(file + ": $.rules: is not an array\n"), std::string::npos) << output.text;
    EXPECT_FALSE(MappedRegion::exists());
}

TEST(ScenarioOption, RefusesANameThatThereIsNot) {
    const Output output = runProgram("zuv-service", "--scenario no-such-scenario");
    EXPECT_EQ(output.status, 1);
    EXPECT_NE(output.text.find("/no-such-scenario.json: No such file or directory"), std::string::npos) << output.text;
}

TEST(ScenarioOption, SuggestsANameThatThereIs) {
    for (const std::string program : {"zuv-service", "zuv-desktop run"}) {
        const Output output =
            runProgram(program, "--scenario answer-dealyed" + std::string(program == "zuv-service" ? "" : " -- true"));
        EXPECT_NE(output.text.find("; did you mean \"answer-delayed\"?\n"), std::string::npos) << output.text;
    }
}

/// The launcher with the real service behind it, and a client that prints what a start brings.
Output launch(const std::string& options) {
    setenv("ZUV_LOG_LEVEL", "off", 1);
    Output output = runProgram("zuv-desktop", "run --private-shm " + options + " -- " ZUV_TEST_SERVICE_USER);
    unsetenv("ZUV_LOG_LEVEL");
    return output;
}

TEST(Launcher, HasTheServicePlayAScenario) {
    const Output output = launch("--engine simulated --scenario answer-wrong-code");
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.text, "started 500 The scenario says so\n");
}

TEST(Launcher, HasTheServicePlayAScenarioOfAFile) {
    const TemporaryFolder folder;
    const std::string file = addFile(folder, "mine.json", R"({"description": "", "rules": [
        {"command": "start", "steps": [{"do": "answer", "detail": "mine"}]}]})");
    EXPECT_EQ(launch("--engine simulated --scenario " + file).text, "started 200 mine\n");
}

TEST(Launcher, HasTheServicePlayRealMediaUnlessToldOtherwise) {
    EXPECT_TRUE(launch("").text.starts_with("started 415 ")); // the client starts what is no medium
}

TEST(Launcher, LeavesNoRegionInASharedShmUnlessSomebodyUsesIt) {
    MappedRegion::remove();
    setenv("ZUV_LOG_LEVEL", "off", 1);
    const std::string command = "run --shared-shm --engine simulated -- " ZUV_TEST_SERVICE_USER;
    EXPECT_TRUE(runProgram("zuv-desktop", command).text.starts_with("started "));
    EXPECT_FALSE(MappedRegion::exists());
    const EventRegion ofAnotherService("/ZUV_PROXY");
    EXPECT_TRUE(runProgram("zuv-desktop", command).text.starts_with("started "));
    EXPECT_TRUE(MappedRegion::exists());
    unsetenv("ZUV_LOG_LEVEL");
    MappedRegion::remove();
}

TEST(Launcher, RefusesAnInvalidScenarioBeforeAnythingStarts) {
    const TemporaryFolder folder;
    const std::string file = addFile(folder, "mine.json", "{}");
    const Output output =
        runProgram("zuv-desktop", "run --scenario " + file + " -- touch " + (folder.path() / "touched").string());
    EXPECT_EQ(output.status, 125);
    EXPECT_EQ(output.text, "zuv-desktop: " + file + ": $: lacks the member \"description\"\n");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "touched"));
}

} // namespace
} // namespace velmora::desktop
