#include "service/protocol/command.h"

#include "service/protocol/result_code.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace velmora::desktop {

namespace {

constexpr std::size_t kEntries = 11;

// Far beyond any medium, and far below what overflows a count of nanoseconds.
constexpr double kLastPosition = 1e9;

struct NamedCommand {
    const char* text;
    CommandName name;
};

constexpr std::array<NamedCommand, 6> kCommands{{{"create", CommandName::Create},
                                                 {"start", CommandName::Start},
                                                 {"stop", CommandName::Stop},
                                                 {"seek", CommandName::Seek},
                                                 {"preload", CommandName::Preload},
                                                 {"inspect", CommandName::Inspect}}};

std::optional<CommandName> commandName(const std::string& text) {
    const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                    [&text](const NamedCommand& command) { return text == command.text; });
    if (found == kCommands.end())
        return std::nullopt;
    return found->name;
}

/// As much of a text from elsewhere as a line can take.
std::string brief(const std::string& text) {
    return fmt::format("{:?}", text.substr(0, 200));
}

/// Why the values are no command; empty when they are one.
std::string objectionTo(const std::vector<std::string>& values) {
    const auto tooLong = [](const std::string& text) { return text.size() > kLongestIdentifier; };
    if (values.size() != kEntries)
        return fmt::format("A command has {} entries, not {}", kEntries, values.size());
    if (!commandName(values[0]))
        return "No such command: " + brief(values[0]);
    if (std::any_of(values.begin() + 1, values.begin() + 4, tooLong))
        return fmt::format("A kind or identifier of more than {} bytes", kLongestIdentifier);
    return "";
}

/// The entries that are not empty.
std::string describe(const std::vector<std::string>& values) {
    std::string text;
    for (std::size_t i = 0; i < values.size(); ++i)
        if (!values[i].empty())
            text += fmt::format(" {}={}", i, brief(values[i]));
    return text;
}

} // namespace

Command decodeCommand(const std::vector<std::string>& values) {
    const std::string objection = objectionTo(values);
    if (!objection.empty())
        throw CommandFailure(ResultCode::BadCommand, objection);
    spdlog::debug("command{}", describe(values));
    const CommandName name = *commandName(values[0]);
    const std::string kind = name == CommandName::Seek ? "main_video" : values[1];
    return Command{name, kind, values[2], values[3], values[5], values[6]};
}

MediaKind mediaKind(const std::string& text) {
    if (text == "main_video")
        return MediaKind::MainVideo;
    if (text == "advertisement")
        return MediaKind::Advertisement;
    throw CommandFailure(ResultCode::BadCommand, "No such media kind: " + brief(text));
}

double positionSeconds(const std::string& text) {
    double seconds = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    // Written so that a NaN fails it as well.
    const bool valid = error == std::errc() && stop == end && seconds >= 0 && seconds <= kLastPosition;
    if (!valid)
        throw CommandFailure(ResultCode::BadCommand, "No position in seconds: " + brief(text));
    return seconds;
}

} // namespace velmora::desktop
