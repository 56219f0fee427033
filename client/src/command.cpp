#include "command.h"

#include "monotonic_clock.h"

#include <array>
#include <charconv>
#include <limits>
#include <utility>

namespace velmora {

std::vector<std::string> newCommand(const char* name, std::string sessionId) {
    std::vector<std::string> command(kCommandSize);
    command[CommandField::Name] = name;
    command[CommandField::SessionId] = std::move(sessionId);
    return command;
}

namespace {

// What "%f" prints in the C locale. Neither printf nor std::to_string will do: they take the decimal point from the
// process's locale, and services expect a point.
std::string decimalText(double value) {
    constexpr int decimals = 6;
    constexpr int integerDigits = std::numeric_limits<double>::max_exponent10 + 1;
    std::array<char, sizeof '-' + integerDigits + sizeof '.' + decimals> text;
    const std::to_chars_result written =
        std::to_chars(text.begin(), text.end(), value, std::chars_format::fixed, decimals);
    return {text.begin(), written.ptr};
}

std::vector<std::string> newPlaybackCommand(const char* name, std::string sessionId, const std::string& objectId) {
    std::vector<std::string> command = newCommand(name, std::move(sessionId));
    command[CommandField::ObjectId] = objectId;
    command[CommandField::RequestTime] = decimalText(monotonicSeconds());
    return command;
}

} // namespace

std::vector<std::string> startCommand(std::string sessionId, const std::string& objectId, std::string url, int option,
                                      std::string kind) {
    std::vector<std::string> command = newPlaybackCommand("start", std::move(sessionId), objectId);
    command[CommandField::MediaKind] = std::move(kind);
    command[CommandField::Text1] = std::move(url);
    command[CommandField::Option] = std::to_string(option);
    return command;
}

std::vector<std::string> stopCommand(std::string sessionId, const std::string& objectId, std::string kind) {
    std::vector<std::string> command = newPlaybackCommand("stop", std::move(sessionId), objectId);
    command[CommandField::MediaKind] = std::move(kind);
    return command;
}

std::vector<std::string> seekCommand(std::string sessionId, const std::string& objectId, double position,
                                     std::string text) {
    std::vector<std::string> command = newPlaybackCommand("seek", std::move(sessionId), objectId);
    command[CommandField::Position] = decimalText(position);
    command[CommandField::Text1] = std::move(text);
    return command;
}

std::vector<std::string> preloadCommand(std::string sessionId, const std::string& objectId, double position,
                                        std::string text1, std::string text2, std::string text3, std::string kind) {
    std::vector<std::string> command = newPlaybackCommand("preload", std::move(sessionId), objectId);
    command[CommandField::MediaKind] = std::move(kind);
    command[CommandField::Position] = decimalText(position);
    command[CommandField::Text1] = std::move(text1);
    command[CommandField::Text2] = std::move(text2);
    command[CommandField::Text3] = std::move(text3);
    return command;
}

} // namespace velmora
