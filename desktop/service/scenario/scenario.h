// Scenarios: how the service misbehaves on purpose. docs/scenarios.md describes the files.
#ifndef ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_H
#define ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_H

#include "service/protocol/command.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace velmora::desktop {

/// The channels on which an event goes out.
enum class Channels { Both, Bus, Memory };

/// What shared memory holds after an event.
enum class MemoryForm {
    Whole,
    NotJson,
    Torn,         ///< the first half of the text
    Oversize,     ///< what the region takes of a text that is longer
    RootArray,    ///< the entries as an array
    NestedMember, ///< the detail is an object
    DeepNesting,  ///< arrays within arrays, more than readers take
    NoZeroByte    ///< the text, and blanks to the region's last byte
};

/// Puts an event out, made from the answer to the command.
struct Delivery {
    bool isAnswer = true;                        ///< otherwise an event that nobody asked for
    std::map<std::size_t, std::string> replaced; ///< texts by their position in the event
    std::optional<std::size_t> entries;          ///< only so many of the event's
    Channels channels = Channels::Both;
    MemoryForm form = MemoryForm::Whole;
    int times = 1;
};

/// Lets time pass, or answers to other commands go first.
struct Wait {
    std::chrono::milliseconds time{0};
    int answers = 0;
};

/// What the service does to itself.
enum class ServiceAction { Freeze, Exit, Abort, RemoveMemory, RecreateMemory };

using Step = std::variant<Delivery, Wait, ServiceAction>;

/// What happens, in place of the answer, to which commands.
struct Rule {
    std::optional<CommandName> command; ///< of any name
    std::optional<std::string> kind;    ///< of any kind
    std::optional<int> nth;             ///< every one of them; the first is 1
    std::vector<Step> steps;
};

struct Scenario {
    std::string description;
    std::vector<Rule> rules;
    bool once = false; ///< not for the services that the bus starts later
};

/// @throws ValidationError
Scenario parseScenario(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_SCENARIO_SCENARIO_H
