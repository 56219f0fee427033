#include "service/protocol/command.h"

#include "base/quoted_text.h"
#include "log/desktop_log.h"
#include "service/protocol/result_code.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>

namespace velmora::desktop {

namespace {

// Far beyond any medium, and far below what overflows a count of nanoseconds.
constexpr double kLastPosition = 1e9;

std::optional<CommandName> commandName(const std::string& text) {
    const auto* const found = std::ranges::find(kCommandWords, text, &CommandWord::text);
    if (found == kCommandWords.end())
        return std::nullopt;
    return found->name;
}

/// Quoted, and shortened to a length that suits a message.
std::string brief(const std::string& text) {
    return inQuotes(text.substr(0, 200));
}

/// Why the values are not a command; empty when they are one.
std::string objectionTo(const std::vector<std::string>& values) {
    if (values.size() != kEntries)
        return fmt::format("A command has {} entries, not {}", kEntries, values.size());
    if (!commandName(values[command_entry::kName]))
        return "No such command: " + brief(values[command_entry::kName]);
    for (const std::size_t entry : {command_entry::kKind, command_entry::kSession, command_entry::kObject})
        if (values[entry].size() > kLongestIdentifier)
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
    logDebug("command{}", describe(values));
    Command command;
    command.name = *commandName(values[command_entry::kName]);
    command.kind = command.name == CommandName::Seek ? std::string(kMainVideoWord.text) : values[command_entry::kKind];
    command.session = values[command_entry::kSession];
    command.objectId = values[command_entry::kObject];
    command.position = values[command_entry::kPosition];
    command.url = values[command_entry::kUrl];
    return command;
}

MediaKind mediaKind(const std::string& text) {
    const auto* const found = std::ranges::find(kMediaKindWords, text, &MediaKindWord::text);
    if (found == kMediaKindWords.end())
        throw CommandFailure(ResultCode::BadCommand, "No such media kind: " + brief(text));
    return found->kind;
}

double positionSeconds(const std::string& text) {
    double seconds = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, seconds);
    // A NaN fails both comparisons, and so is not valid either.
    const bool valid = error == std::errc() && stop == end && seconds >= 0 && seconds <= kLastPosition;
    if (!valid)
        throw CommandFailure(ResultCode::BadCommand, "No position in seconds: " + brief(text));
    return seconds;
}

} // namespace velmora::desktop
