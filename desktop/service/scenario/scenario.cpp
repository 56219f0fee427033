#include "service/scenario/scenario.h"

#include "service/scenario/json_node.h"

#include <array>

namespace velmora::desktop {

namespace {

constexpr int kMostCommands = 1'000'000;
constexpr int kMostEvents = 100'000;
constexpr int kLongestWait = 3'600'000; // milliseconds
constexpr int kEventEntries = 11;

// In the order of their enumerations.
const std::vector<std::string_view> kCommands{"create", "start", "stop", "seek", "preload", "inspect"};
const std::vector<std::string_view> kKinds{"main_video", "advertisement"};
const std::vector<std::string_view> kChannels{"both", "bus", "memory"};
const std::vector<std::string_view> kForms{"whole",      "not_json",      "torn",         "oversize",
                                           "root_array", "nested_member", "deep_nesting", "no_zero_byte"};
const std::vector<std::string_view> kSteps{"answer", "event", "wait",          "freeze",
                                           "exit",   "abort", "remove_memory", "recreate_memory"};
constexpr std::size_t kFirstAction = 3; // the actions come last

// What a scenario calls the entries of an event, and where they are.
struct NamedEntry {
    const char* name;
    std::size_t position;
};
constexpr std::size_t kNameEntry = 0;
constexpr std::size_t kSessionEntry = 2;
constexpr std::array<NamedEntry, 7> kEntries{{{"code", 1},
                                              {"session", kSessionEntry},
                                              {"object", 3},
                                              {"local_url", 6},
                                              {"definitions", 7},
                                              {"detail", 8},
                                              {"kind", 9}}};

template <typename Choice>
Choice chosen(const JsonNode& node, const std::string& member, const std::vector<std::string_view>& texts,
              Choice otherwise) {
    const auto found = node.optionalMember(member);
    return found ? static_cast<Choice>(found->choice(texts)) : otherwise;
}

Delivery parseDelivery(const JsonNode& step) {
    Delivery delivery;
    for (const NamedEntry& entry : kEntries)
        if (const auto text = step.optionalMember(entry.name))
            delivery.replaced[entry.position] = text->text();
    if (const auto entries = step.optionalMember("entries"))
        delivery.entries = static_cast<std::size_t>(entries->number(0, kEventEntries - 1));
    if (const auto times = step.optionalMember("times"))
        delivery.times = times->number(1, kMostEvents);
    delivery.channels = chosen(step, "channels", kChannels, Channels::Both);
    delivery.form = chosen(step, "memory", kForms, MemoryForm::Whole);
    if (delivery.channels == Channels::Bus && step.optionalMember("memory"))
        step.member("memory").fail("goes with no event that is on the bus only");
    return delivery;
}

Step parseAnswer(const JsonNode& step) {
    step.requireObject({"do", "code", "session", "object", "local_url", "definitions", "detail", "kind", "entries",
                        "times", "channels", "memory"});
    return parseDelivery(step);
}

Step parseEvent(const JsonNode& step) {
    step.requireObject({"do", "name", "code", "session", "object", "local_url", "definitions", "detail", "kind",
                        "entries", "times", "channels", "memory"});
    Delivery delivery = parseDelivery(step);
    delivery.isAnswer = false;
    delivery.replaced[kNameEntry] = step.member("name").text();
    delivery.replaced.try_emplace(kSessionEntry, "");
    return delivery;
}

Step parseWait(const JsonNode& step) {
    step.requireObject({"do", "milliseconds", "answers"});
    const auto time = step.optionalMember("milliseconds");
    const auto answers = step.optionalMember("answers");
    if (time.has_value() == answers.has_value())
        step.fail(R"(waits for either "milliseconds" or "answers")");
    if (time)
        return Wait{std::chrono::milliseconds(time->number(1, kLongestWait)), 0};
    return Wait{{}, answers->number(1, kMostCommands)};
}

Step parseStep(const JsonNode& step) {
    constexpr std::array kParsers{parseAnswer, parseEvent, parseWait};
    const std::size_t kind = step.member("do").choice(kSteps);
    if (kind < kFirstAction)
        return kParsers.at(kind)(step);
    step.requireObject({"do"});
    return static_cast<ServiceAction>(kind - kFirstAction);
}

bool endsTheService(const Step& step) {
    const ServiceAction* action = std::get_if<ServiceAction>(&step);
    return action != nullptr && (*action == ServiceAction::Exit || *action == ServiceAction::Abort);
}

std::vector<Step> parseSteps(const JsonNode& node) {
    std::vector<Step> steps;
    for (const JsonNode& step : node.elements()) {
        if (!steps.empty() && endsTheService(steps.back()))
            step.fail("comes after the end of the service");
        steps.push_back(parseStep(step));
    }
    return steps;
}

/// Whether commands of that name can be of that kind.
bool canBe(CommandName command, const std::string& kind) {
    if (command == CommandName::Create || command == CommandName::Inspect)
        return false;
    return command != CommandName::Seek || kind == kKinds.front();
}

Rule parseRule(const JsonNode& node) {
    node.requireObject({"command", "kind", "nth", "steps"});
    Rule rule;
    if (const auto command = node.optionalMember("command"))
        rule.command = static_cast<CommandName>(command->choice(kCommands));
    if (const auto kind = node.optionalMember("kind"))
        rule.kind = kKinds[kind->choice(kKinds)];
    if (rule.command && rule.kind && !canBe(*rule.command, *rule.kind))
        node.member("kind").fail("is of no such command");
    if (const auto nth = node.optionalMember("nth"))
        rule.nth = nth->number(1, kMostCommands);
    rule.steps = parseSteps(node.member("steps"));
    return rule;
}

} // namespace

Scenario parseScenario(const std::string& text) {
    const Json::Value document = parseDocument(text);
    const JsonNode root(document);
    root.requireObject({"description", "once", "rules"});
    Scenario scenario;
    scenario.description = root.member("description").text();
    if (const auto once = root.optionalMember("once"))
        scenario.once = once->flag();
    for (const JsonNode& rule : root.member("rules").elements())
        scenario.rules.push_back(parseRule(rule));
    return scenario;
}

} // namespace velmora::desktop
