#include "trace/replay/script.h"

#include "base/system_error.h"
#include "service/scenario/json_node.h"

#include <array>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <limits>
#include <string_view>

namespace velmora::replay {

namespace {

using desktop::EventOutput;
using desktop::JsonNode;

struct EndWord {
    std::string_view text;
    End end;
};

constexpr std::array<EndWord, 2> kEnds{{{"exit", End::Exit}, {"freeze", End::Freeze}}};

EventOutput parseEvent(const JsonNode& node) {
    EventOutput event;
    if (const auto memory = node.optionalMember("memory"))
        event.memory = memory->text();
    if (const auto bus = node.optionalMember("bus")) {
        event.bus.emplace();
        for (const JsonNode& entry : bus->elements())
            event.bus->push_back(entry.text());
    }
    return event;
}

std::vector<Step> parseSteps(const JsonNode& node) {
    std::vector<Step> steps;
    for (const JsonNode& each : node.elements()) {
        Step step;
        step.after = std::chrono::milliseconds(each.member("after").number(0, std::numeric_limits<int>::max()));
        if (const auto end = each.optionalMember("end"))
            step.action = end->choice(kEnds).end;
        else
            step.action = parseEvent(each);
        steps.push_back(std::move(step));
    }
    return steps;
}

Life parseLife(const JsonNode& node) {
    Life life{parseSteps(node.member("beginning")), {}};
    for (const JsonNode& each : node.member("commands").elements())
        life.commands.push_back({each.member("name").text(), each.member("kind").text(), each.member("session").text(),
                                 parseSteps(each.member("steps"))});
    return life;
}

std::string textOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    if (!stream)
        throw desktop::systemError(errno, "cannot read the script " + file);
    return text;
}

} // namespace

std::vector<Life> loadScript(const std::string& file) {
    const Json::Value document = desktop::parseDocument(textOf(file));
    std::vector<Life> lives;
    for (const JsonNode& life : JsonNode(document).member("lives").elements())
        lives.push_back(parseLife(life));
    return lives;
}

} // namespace velmora::replay
