#include "service/scenario/json_node.h"
#include "service/scenario/scenario.h"
#include "service/scenario/scenario_files.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmora::desktop {
namespace {

/// The document of a scenario with one rule, which has one step.
std::string withStep(const std::string& step) {
    return R"({"description": "", "rules": [{"steps": [)" + step + "]}]}";
}

std::string withRule(const std::string& rule) {
    return R"({"description": "", "rules": [)" + rule + "]}";
}

template <typename StepKind>
StepKind stepOf(const std::string& step) {
    const Scenario scenario = parseScenario(withStep(step));
    return std::get<StepKind>(scenario.rules.at(0).steps.at(0));
}

TEST(Scenario, HasADescriptionAndRules) {
    const Scenario scenario = parseScenario(R"({"description": "Nothing happens.", "rules": []})");
    EXPECT_EQ(scenario.description, "Nothing happens.");
    EXPECT_TRUE(scenario.rules.empty());
}

TEST(Scenario, IsForEveryServiceUnlessItSaysOtherwise) {
    EXPECT_FALSE(parseScenario(R"({"description": "", "rules": []})").once);
    EXPECT_FALSE(parseScenario(R"({"description": "", "once": false, "rules": []})").once);
    EXPECT_TRUE(parseScenario(R"({"description": "", "once": true, "rules": []})").once);
}

TEST(Scenario, RuleIsAboutTheNthCommandOfANameAndKind) {
    const Scenario scenario =
        parseScenario(withRule(R"({"command": "preload", "kind": "advertisement", "nth": 3, "steps": []})"));
    ASSERT_EQ(scenario.rules.size(), 1U);
    EXPECT_EQ(scenario.rules[0].command, CommandName::Preload);
    EXPECT_EQ(scenario.rules[0].kind, MediaKind::Advertisement);
    EXPECT_EQ(scenario.rules[0].nth, 3);
    EXPECT_TRUE(scenario.rules[0].steps.empty());
}

TEST(Scenario, RuleIsAboutEveryCommandUnlessItSaysOtherwise) {
    const Scenario scenario = parseScenario(withRule(R"({"steps": []})"));
    ASSERT_EQ(scenario.rules.size(), 1U);
    EXPECT_FALSE(scenario.rules[0].command);
    EXPECT_FALSE(scenario.rules[0].kind);
    EXPECT_FALSE(scenario.rules[0].nth);
}

TEST(Scenario, KnowsEveryCommand) {
    const std::vector<std::pair<const char*, CommandName>> commands{
        {"create", CommandName::Create}, {"start", CommandName::Start},     {"stop", CommandName::Stop},
        {"seek", CommandName::Seek},     {"preload", CommandName::Preload}, {"inspect", CommandName::Inspect}};
    for (const auto& [text, name] : commands) {
        const Scenario scenario = parseScenario(withRule(std::string(R"({"steps": [], "command": ")") + text + "\"}"));
        EXPECT_EQ(scenario.rules.at(0).command, name) << text;
    }
}

TEST(Scenario, AnswerIsWholeUnlessItSaysOtherwise) {
    const auto answer = stepOf<Delivery>(R"({"do": "answer"})");
    EXPECT_TRUE(answer.isAnswer);
    EXPECT_TRUE(answer.replaced.empty());
    EXPECT_FALSE(answer.entries);
    EXPECT_EQ(answer.channels, Channels::Both);
    EXPECT_EQ(answer.form, MemoryForm::Whole);
    EXPECT_EQ(answer.times, 1);
}

TEST(Scenario, AnswerReplacesEntries) {
    const auto answer = stepOf<Delivery>(
        R"({"do": "answer", "code": "a", "session": "b", "object": "c", "local_url": "d", "definitions": "e",
            "detail": "f", "kind": "g"})");
    const std::map<std::size_t, std::string> expected{{1, "a"}, {2, "b"}, {3, "c"}, {6, "d"},
                                                      {7, "e"}, {8, "f"}, {9, "g"}};
    EXPECT_EQ(answer.replaced, expected);
}

TEST(Scenario, AnswerComesShortOftenAndOnOneWay) {
    const auto answer = stepOf<Delivery>(R"({"do": "answer", "entries": 3, "times": 2, "channels": "bus"})");
    EXPECT_EQ(answer.entries, 3U);
    EXPECT_EQ(answer.times, 2);
    EXPECT_EQ(answer.channels, Channels::Bus);
    EXPECT_EQ(stepOf<Delivery>(R"({"do": "answer", "channels": "memory"})").channels, Channels::Memory);
    EXPECT_EQ(stepOf<Delivery>(R"({"do": "answer", "channels": "both"})").channels, Channels::Both);
}

TEST(Scenario, KnowsEveryFormInSharedMemory) {
    const std::vector<std::pair<const char*, MemoryForm>> forms{{"whole", MemoryForm::Whole},
                                                                {"not_json", MemoryForm::NotJson},
                                                                {"torn", MemoryForm::Torn},
                                                                {"oversize", MemoryForm::Oversize},
                                                                {"root_array", MemoryForm::RootArray},
                                                                {"nested_member", MemoryForm::NestedMember},
                                                                {"deep_nesting", MemoryForm::DeepNesting},
                                                                {"no_zero_byte", MemoryForm::NoZeroByte}};
    for (const auto& [text, form] : forms)
        EXPECT_EQ(stepOf<Delivery>(std::string(R"({"do": "answer", "memory": ")") + text + "\"}").form, form);
}

TEST(Scenario, EventHasANameAndNoSessionOfItsOwn) {
    const auto event = stepOf<Delivery>(R"({"do": "event", "name": "status", "times": 1000})");
    EXPECT_FALSE(event.isAnswer);
    EXPECT_EQ(event.replaced, (std::map<std::size_t, std::string>{{0, "status"}, {2, ""}}));
    EXPECT_EQ(event.times, 1000);
    EXPECT_EQ(stepOf<Delivery>(R"({"do": "event", "name": "", "session": "s"})").replaced.at(2), "s");
}

TEST(Scenario, WaitsForTimeOrForAnswers) {
    EXPECT_EQ(stepOf<Wait>(R"({"do": "wait", "milliseconds": 300})").time, std::chrono::milliseconds(300));
    EXPECT_EQ(stepOf<Wait>(R"({"do": "wait", "milliseconds": 300})").answers, 0);
    EXPECT_EQ(stepOf<Wait>(R"({"do": "wait", "answers": 2})").answers, 2);
}

TEST(Scenario, KnowsEveryServiceAction) {
    const std::vector<std::pair<const char*, ServiceAction>> actions{
        {"freeze", ServiceAction::Freeze},
        {"exit", ServiceAction::Exit},
        {"abort", ServiceAction::Abort},
        {"remove_memory", ServiceAction::RemoveMemory},
        {"recreate_memory", ServiceAction::RecreateMemory}};
    for (const auto& [text, action] : actions)
        EXPECT_EQ(stepOf<ServiceAction>(std::string(R"({"do": ")") + text + "\"}"), action) << text;
}

struct Invalid {
    const char* name;
    std::string document;
    const char* error; ///< "PLACE: REASON"
};

/// What a failing test is called in its report.
void PrintTo(const Invalid& invalid, std::ostream* stream) {
    *stream << invalid.name;
}

class InvalidScenario : public testing::TestWithParam<Invalid> {};

TEST_P(InvalidScenario, IsRefusedWithPlaceAndReason) {
    try {
        parseScenario(GetParam().document);
        FAIL() << "it was taken";
    } catch (const ValidationError& error) {
        EXPECT_STREQ(error.what(), GetParam().error);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Document, InvalidScenario,
    testing::Values(
        Invalid{"Empty", "", "Line 1, Column 1: Syntax error: value, object or array expected."},
        Invalid{"NoJson", "{\n  \"description\" \"\"}", "Line 2, Column 17: Missing ':' after object member name"},
        Invalid{"More", "{}\n{}", "Line 2, Column 1: Extra non-whitespace after JSON value."},
        Invalid{"TwiceTheSame", R"({"rules": [], "rules": []})", "Line 1, Column 15: Duplicate key: 'rules'"},
        Invalid{"TooDeep", std::string(2000, '['), "$: Exceeded stackLimit in readValue()."},
        Invalid{"Array", "[]", "$: is not an object"},
        Invalid{"NoDescription", R"({"rules": []})", "$: lacks the member \"description\""},
        Invalid{"NoRules", R"({"description": ""})", "$: lacks the member \"rules\""},
        Invalid{"OtherMember", R"({"description": "", "rules": [], "rule": 1})",
                "$: has an unknown member \"rule\"; known are description, once, rules"},
        Invalid{"MemberCutWithinACharacter", "{\"description\": \"\", \"rules\": [], \"\xc4\": 1}",
                "$: has an unknown member \"\\xc4\"; known are description, once, rules"},
        Invalid{"DescriptionIsNumber", R"({"description": 1, "rules": []})", "$.description: is not a string"},
        Invalid{"OnceIsNumber", R"({"description": "", "once": 1, "rules": []})", "$.once: is neither true nor false"},
        Invalid{"RulesAreObject", R"({"description": "", "rules": {}})", "$.rules: is not an array"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Rule, InvalidScenario,
    testing::Values(
        Invalid{"IsText", withRule(R"("start")"), "$.rules[0]: is not an object"},
        Invalid{"SecondIsText", withRule(R"({"steps": []}, "start")"), "$.rules[1]: is not an object"},
        Invalid{"NoSteps", withRule("{}"), "$.rules[0]: lacks the member \"steps\""},
        Invalid{"OtherMember", withRule(R"({"steps": [], "first": true})"),
                "$.rules[0]: has an unknown member \"first\"; known are command, kind, nth, steps"},
        Invalid{"UnknownCommand", withRule(R"({"steps": [], "command": "dance"})"),
                "$.rules[0].command: is \"dance\", not one of create, start, stop, seek, preload, inspect"},
        Invalid{"CommandIsNumber", withRule(R"({"steps": [], "command": 1})"), "$.rules[0].command: is not a string"},
        Invalid{"UnknownKind", withRule(R"({"steps": [], "kind": "subtitles"})"),
                "$.rules[0].kind: is \"subtitles\", not one of main_video, advertisement"},
        Invalid{"CreateOfAKind", withRule(R"({"steps": [], "command": "create", "kind": "main_video"})"),
                "$.rules[0].kind: does not apply to this command"},
        Invalid{"InspectOfAKind", withRule(R"({"steps": [], "command": "inspect", "kind": "main_video"})"),
                "$.rules[0].kind: does not apply to this command"},
        Invalid{"SeekInAnAdvertisement", withRule(R"({"steps": [], "command": "seek", "kind": "advertisement"})"),
                "$.rules[0].kind: does not apply to this command"},
        Invalid{"NoFirst", withRule(R"({"steps": [], "nth": 0})"),
                "$.rules[0].nth: is not a whole number from 1 to 1000000"},
        Invalid{"NthIsFraction", withRule(R"({"steps": [], "nth": 1.5})"),
                "$.rules[0].nth: is not a whole number from 1 to 1000000"},
        Invalid{"NthIsText", withRule(R"({"steps": [], "nth": "1"})"),
                "$.rules[0].nth: is not a whole number from 1 to 1000000"},
        Invalid{"StepsAreText", withRule(R"({"steps": "answer"})"), "$.rules[0].steps: is not an array"}),
    [](const auto& tested) { return tested.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Step, InvalidScenario,
    testing::Values(
        Invalid{"IsText", withStep(R"("answer")"), "$.rules[0].steps[0]: is not an object"},
        Invalid{"DoesNothing", withStep("{}"), "$.rules[0].steps[0]: lacks the member \"do\""},
        Invalid{"DoesAnotherThing", withStep(R"({"do": "sleep"})"),
                "$.rules[0].steps[0].do: is \"sleep\", not one of answer, event, wait, freeze, exit, abort, "
                "remove_memory, recreate_memory"},
        Invalid{"AnswerWithAName", withStep(R"({"do": "answer", "name": "started"})"),
                "$.rules[0].steps[0]: has an unknown member \"name\"; known are do, code, session, object, "
                "local_url, definitions, detail, kind, entries, times, channels, memory"},
        Invalid{"EventWithoutName", withStep(R"({"do": "event"})"), "$.rules[0].steps[0]: lacks the member \"name\""},
        Invalid{"CodeIsNumber", withStep(R"({"do": "answer", "code": 500})"),
                "$.rules[0].steps[0].code: is not a string"},
        Invalid{"AllEntries", withStep(R"({"do": "answer", "entries": 11})"),
                "$.rules[0].steps[0].entries: is not a whole number from 0 to 10"},
        Invalid{"NoTimes", withStep(R"({"do": "answer", "times": 0})"),
                "$.rules[0].steps[0].times: is not a whole number from 1 to 100000"},
        Invalid{"OtherChannel", withStep(R"({"do": "answer", "channels": "post"})"),
                "$.rules[0].steps[0].channels: is \"post\", not one of both, bus, memory"},
        Invalid{"OtherForm", withStep(R"({"do": "answer", "memory": "xml"})"),
                "$.rules[0].steps[0].memory: is \"xml\", not one of whole, not_json, torn, oversize, "
                "root_array, nested_member, deep_nesting, no_zero_byte"},
        Invalid{"FormOnTheBusOnly", withStep(R"({"do": "answer", "channels": "bus", "memory": "torn"})"),
                "$.rules[0].steps[0].memory: cannot be combined with \"channels\": \"bus\""},
        Invalid{"WaitsForNothing", withStep(R"({"do": "wait"})"),
                "$.rules[0].steps[0]: waits for either \"milliseconds\" or \"answers\""},
        Invalid{"WaitsForBoth", withStep(R"({"do": "wait", "milliseconds": 1, "answers": 1})"),
                "$.rules[0].steps[0]: waits for either \"milliseconds\" or \"answers\""},
        Invalid{"WaitsNoTime", withStep(R"({"do": "wait", "milliseconds": 0})"),
                "$.rules[0].steps[0].milliseconds: is not a whole number from 1 to 3600000"},
        Invalid{"WaitsForNoAnswers", withStep(R"({"do": "wait", "answers": -1})"),
                "$.rules[0].steps[0].answers: is not a whole number from 1 to 1000000"},
        Invalid{"FreezesForAWhile", withStep(R"({"do": "freeze", "milliseconds": 5})"),
                "$.rules[0].steps[0]: has an unknown member \"milliseconds\"; known are do"},
        Invalid{"ActsBehindTheEnd", withStep(R"({"do": "exit"}, {"do": "answer"})"),
                "$.rules[0].steps[1]: comes after the end of the service"},
        Invalid{"ActsBehindACrash", withStep(R"({"do": "abort"}, {"do": "answer"})"),
                "$.rules[0].steps[1]: comes after the end of the service"}),
    [](const auto& tested) { return tested.param.name; });

std::string errorOf(const std::filesystem::path& file) {
    try {
        loadScenario(file);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(ScenarioFile, IsLoaded) {
    const TemporaryFolder folder;
    const auto file = addFile(folder, "mine.json", R"({"description": "Mine.", "rules": []})");
    EXPECT_EQ(loadScenario(file).description, "Mine.");
}

TEST(ScenarioFile, IsNamedInItsErrors) {
    const TemporaryFolder folder;
    const auto file = addFile(folder, "mine.json", R"({"description": 1, "rules": []})");
    EXPECT_EQ(errorOf(file), file.string() + ": $.description: is not a string");
}

TEST(ScenarioFile, IsThereAndCanBeRead) {
    const TemporaryFolder folder;
    const std::string missing = folder.path() / "missing.json";
    EXPECT_EQ(errorOf(missing), missing + ": No such file or directory");
    EXPECT_EQ(errorOf(folder.path()), folder.path().string() + ": is a folder");
}

TEST(ScenarioFile, IsARegularFile) {
    const TemporaryFolder folder;
    const std::string fifo = folder.path() / "fifo.json";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(errorOf(fifo), fifo + ": is not a regular file");
    EXPECT_EQ(errorOf("/dev/zero"), "/dev/zero: is not a regular file");
}

TEST(ScenarioFile, HasAtMostOneMebibyte) {
    const TemporaryFolder folder;
    const std::string start = R"({"description": "", "rules": []})";
    const auto longest = addFile(folder, "longest.json", start + std::string((1 << 20) - start.size(), ' '));
    EXPECT_EQ(errorOf(longest), "");
    const auto longer = addFile(folder, "longer.json", start + std::string((1 << 20) - start.size() + 1, ' '));
    EXPECT_EQ(errorOf(longer), longer.string() + ": is longer than 1048576 bytes");
}

TEST(ScenarioFile, CanBeEmptyAndIsThenNoScenario) {
    const TemporaryFolder folder;
    const auto file = addFile(folder, "empty.json");
    EXPECT_EQ(errorOf(file), file.string() + ": Line 1, Column 1: Syntax error: value, object or array expected.");
}

TEST(ScenarioFile, IsGivenByPathOrByName) {
    EXPECT_EQ(scenarioFile("/tmp/mine"), "/tmp/mine");
    EXPECT_EQ(scenarioFile("mine.json"), std::filesystem::current_path() / "mine.json");
    EXPECT_EQ(scenarioFile("folder/mine"), std::filesystem::current_path() / "folder/mine");
    EXPECT_EQ(scenarioFile("answer-twice").filename(), "answer-twice.json");
    EXPECT_EQ(scenarioFile("answer-twice").parent_path().filename(), "scenarios");
}

} // namespace
} // namespace velmora::desktop
