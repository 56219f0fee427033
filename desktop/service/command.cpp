#include "command.h"

#include "result_code.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace velmora::desktop {

namespace {

constexpr std::size_t kEntries = 11;
constexpr std::size_t kLongestIdentifier = 128;

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

} // namespace

std::optional<Command> decodeCommand(const std::vector<std::string>& values) {
    if (values.size() != kEntries) {
        spdlog::warn("command dropped: entries={} expected={}", values.size(), kEntries);
        return std::nullopt;
    }
    const std::optional<CommandName> name = commandName(values[0]);
    if (!name) {
        spdlog::warn("command dropped: unknown name={:?}", values[0].substr(0, kLongestIdentifier));
        return std::nullopt;
    }
    if (std::any_of(values.begin() + 1, values.begin() + 4,
                    [](const std::string& text) { return text.size() > kLongestIdentifier; })) {
        spdlog::warn("command dropped: name={} kind or identifier longer than {} bytes", values[0],
                     kLongestIdentifier);
        return std::nullopt;
    }
    spdlog::debug(
        "command name={} kind={:?} session={:?} object={:?} time={:?} 5={:?} 6={:?} 7={:?} 8={:?} 9={:?}",
        values[0], values[1], values[2], values[3], values[4], values[5], values[6], values[7], values[8],
        values[9]);
    const std::string kind = *name == CommandName::Seek ? "main_video" : values[1];
    return Command{*name, kind, values[2], values[3], values[5], values[6]};
}

MediaKind mediaKind(const std::string& text) {
    if (text == "main_video")
        return MediaKind::MainVideo;
    if (text == "advertisement")
        return MediaKind::Advertisement;
    throw CommandFailure(ResultCode::BadCommand, fmt::format("No such media kind: {:?}", text));
}

double positionSeconds(const std::string& text) {
    double seconds = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    // Written so that a NaN fails it as well.
    const bool valid = error == std::errc() && stop == end && seconds >= 0 && seconds <= kLastPosition;
    if (!valid)
        throw CommandFailure(ResultCode::BadCommand,
                             fmt::format("No position in seconds: {:?}", text.substr(0, 64)));
    return seconds;
}

} // namespace velmora::desktop
