// What the service of a recording did, as zuv-trace writes it for zuv-replay.
#ifndef ZUV_TRACE_REPLAY_SCRIPT_H
#define ZUV_TRACE_REPLAY_SCRIPT_H

#include "service/event_publisher.h"

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace velmora::replay {

/// How the service ended, or no longer did anything.
enum class End { Exit, Freeze };

struct Step {
    std::chrono::milliseconds after{0}; ///< since the command that it follows, or since the service began
    std::variant<desktop::EventOutput, End> action;
};

/// A command that the recorded service received, and what the service did after it. The steps are in the order of time.
struct Command {
    std::string name;
    std::string kind;
    std::string session;
    std::vector<Step> steps;
};

/// A service from its start to its end. The steps of the beginning belong to no command.
struct Life {
    std::vector<Step> beginning;
    std::vector<Command> commands;
};

/// Reads the service's lives, in the order in which they began.
/// @throws std::runtime_error when the file cannot be read or is not a valid script; what() names the place.
std::vector<Life> loadScript(const std::string& file);

} // namespace velmora::replay

#endif // ZUV_TRACE_REPLAY_SCRIPT_H
