// Scenarios: how the service misbehaves on purpose. docs/scenarios.md describes the files.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_H

#include "service/protocol/wire_format.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velmora::desktop {

/// The ways in which an event is sent.
enum class Channels { Both, Bus, Memory };

/// What shared memory holds after an event.
enum class MemoryForm {
    Whole,
    NotJson,
    Torn,         ///< the first half of the text
    Oversize,     ///< a text that is longer than the region, cut at its end
    RootArray,    ///< the entries as an array
    NestedMember, ///< the detail is an object
    DeepNesting,  ///< arrays within arrays, deeper than JSON readers accept
    NoZeroByte    ///< the text, followed by blanks up to the region's last byte
};

/// Sends an event that is made from the answer to the command.
struct Delivery {
    bool isAnswer = true;                        ///< otherwise an additional event that no command asked for
    std::map<std::size_t, std::string> replaced; ///< texts by their position in the event
    std::optional<std::size_t> entries;          ///< the length that the list is cut to
    Channels channels = Channels::Both;
    MemoryForm form = MemoryForm::Whole;
    int times = 1;
};

/// Waits for some time, or until a number of other commands have been answered.
struct Wait {
    std::chrono::milliseconds time{0};
    int answers = 0;
};

/// What the service does to its own process or to the shared memory.
enum class ServiceAction { Freeze, Exit, Abort, RemoveMemory, RecreateMemory };

using Step = std::variant<Delivery, Wait, ServiceAction>;

/// The steps that replace the answers to certain commands. A condition without a value holds for every command.
struct Rule {
    std::optional<CommandName> command;
    std::optional<MediaKind> kind;
    std::optional<int> nth; ///< counts the commands for which the other conditions hold; the first is 1
    std::vector<Step> steps;
};

struct Scenario {
    std::string description;
    std::vector<Rule> rules;
    bool once = false; ///< whether services that the bus starts later behave properly
};

/// @throws ValidationError
Scenario parseScenario(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_H
