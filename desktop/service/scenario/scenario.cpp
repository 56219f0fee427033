#include "service/scenario/scenario.h"

#include "service/scenario/json_node.h"

#include <array>
#include <initializer_list>
#include <string_view>

namespace velmora::desktop {

namespace {

constexpr int kMostCommands = 1'000'000;
constexpr int kMostEvents = 100'000;
constexpr int kLongestWait = 3'600'000; // milliseconds

template <typename Value>
struct Word {
    std::string_view text;
    Value value;
};

constexpr std::array<Word<Channels>, 3> kChannels{
    {{"both", Channels::Both}, {"bus", Channels::Bus}, {"memory", Channels::Memory}}};

constexpr std::array<Word<MemoryForm>, 8> kForms{{{"whole", MemoryForm::Whole},
                                                  {"not_json", MemoryForm::NotJson},
                                                  {"torn", MemoryForm::Torn},
                                                  {"oversize", MemoryForm::Oversize},
                                                  {"root_array", MemoryForm::RootArray},
                                                  {"nested_member", MemoryForm::NestedMember},
                                                  {"deep_nesting", MemoryForm::DeepNesting},
                                                  {"no_zero_byte", MemoryForm::NoZeroByte}}};

// The entries of an event that a step can replace, by their names in scenarios.
constexpr std::array<Word<std::size_t>, 7> kReplaceableEntries{{{"code", event_entry::kCode},
                                                                {"session", event_entry::kSession},
                                                                {"object", event_entry::kObject},
                                                                {"local_url", event_entry::kLocalUrl},
                                                                {"definitions", event_entry::kDefinitions},
                                                                {"detail", event_entry::kDetail},
                                                                {"kind", event_entry::kKind}}};

template <typename Value, std::size_t size>
Value chosen(const JsonNode& node, std::string_view member, const std::array<Word<Value>, size>& words,
             Value otherwise) {
    const auto found = node.optionalMember(member);
    return found ? found->choice(words).value : otherwise;
}

/// The members of a step that sends an event: `first` and those that all such steps have.
std::vector<std::string_view> deliveryMembers(std::initializer_list<std::string_view> first) {
    std::vector<std::string_view> members(first);
    for (const Word<std::size_t>& entry : kReplaceableEntries)
        members.push_back(entry.text);
    members.insert(members.end(), {"entries", "times", "channels", "memory"});
    return members;
}

Delivery parseDelivery(const JsonNode& step) {
    Delivery delivery;
    for (const Word<std::size_t>& entry : kReplaceableEntries)
        if (const auto text = step.optionalMember(entry.text))
            delivery.replaced[entry.value] = text->text();
    if (const auto entries = step.optionalMember("entries"))
        delivery.entries = static_cast<std::size_t>(entries->number(0, static_cast<int>(kEntries) - 1));
    if (const auto times = step.optionalMember("times"))
        delivery.times = times->number(1, kMostEvents);
    delivery.channels = chosen(step, "channels", kChannels, Channels::Both);
    delivery.form = chosen(step, "memory", kForms, MemoryForm::Whole);
    if (delivery.channels == Channels::Bus && step.optionalMember("memory"))
        step.member("memory").fail(R"(cannot be combined with "channels": "bus")");
    return delivery;
}

Step parseAnswer(const JsonNode& step) {
    step.requireObject(deliveryMembers({"do"}));
    return parseDelivery(step);
}

Step parseEvent(const JsonNode& step) {
    step.requireObject(deliveryMembers({"do", "name"}));
    Delivery delivery = parseDelivery(step);
    delivery.isAnswer = false;
    delivery.replaced[event_entry::kName] = step.member("name").text();
    delivery.replaced.try_emplace(event_entry::kSession, "");
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

template <ServiceAction action>
Step parseAction(const JsonNode& step) {
    step.requireObject({"do"});
    return action;
}

using StepParser = Step (*)(const JsonNode&);

constexpr std::array<Word<StepParser>, 8> kSteps{{{"answer", parseAnswer},
                                                  {"event", parseEvent},
                                                  {"wait", parseWait},
                                                  {"freeze", parseAction<ServiceAction::Freeze>},
                                                  {"exit", parseAction<ServiceAction::Exit>},
                                                  {"abort", parseAction<ServiceAction::Abort>},
                                                  {"remove_memory", parseAction<ServiceAction::RemoveMemory>},
                                                  {"recreate_memory", parseAction<ServiceAction::RecreateMemory>}}};

bool endsTheService(const Step& step) {
    const ServiceAction* action = std::get_if<ServiceAction>(&step);
    return action != nullptr && (*action == ServiceAction::Exit || *action == ServiceAction::Abort);
}

std::vector<Step> parseSteps(const JsonNode& node) {
    std::vector<Step> steps;
    for (const JsonNode& step : node.elements()) {
        if (!steps.empty() && endsTheService(steps.back()))
            step.fail("comes after the end of the service");
        steps.push_back(step.member("do").choice(kSteps).value(step));
    }
    return steps;
}

/// Whether a command can concern a medium of that kind.
bool canHaveKind(CommandName command, MediaKind kind) {
    if (command == CommandName::Create || command == CommandName::Inspect)
        return false;
    return command != CommandName::Seek || kind == MediaKind::MainVideo;
}

Rule parseRule(const JsonNode& node) {
    node.requireObject({"command", "kind", "nth", "steps"});
    Rule rule;
    if (const auto command = node.optionalMember("command"))
        rule.command = command->choice(kCommandWords).name;
    if (const auto kind = node.optionalMember("kind"))
        rule.kind = kind->choice(kMediaKindWords).kind;
    if (rule.command && rule.kind && !canHaveKind(*rule.command, *rule.kind))
        node.member("kind").fail("does not apply to this command");
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
