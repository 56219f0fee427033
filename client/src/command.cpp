#include "command.h"

#include "monotonic_clock.h"

#include <utility>

namespace velmora {

std::vector<std::string> newCommand(const char* name, std::string sessionId) {
    std::vector<std::string> command(kCommandSize);
    command[CommandField::Name] = name;
    command[CommandField::SessionId] = std::move(sessionId);
    return command;
}

namespace {

std::vector<std::string> newPlaybackCommand(const char* name, std::string sessionId, const std::string& objectId) {
    std::vector<std::string> command = newCommand(name, std::move(sessionId));
    command[CommandField::ObjectId] = objectId;
    command[CommandField::RequestTime] = std::to_string(monotonicSeconds());
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
    command[CommandField::Position] = std::to_string(position);
    command[CommandField::Text1] = std::move(text);
    return command;
}

std::vector<std::string> preloadCommand(std::string sessionId, const std::string& objectId, double position,
                                        std::string text1, std::string text2, std::string text3, std::string kind) {
    std::vector<std::string> command = newPlaybackCommand("preload", std::move(sessionId), objectId);
    command[CommandField::MediaKind] = std::move(kind);
    command[CommandField::Position] = std::to_string(position);
    command[CommandField::Text1] = std::move(text1);
    command[CommandField::Text2] = std::move(text2);
    command[CommandField::Text3] = std::move(text3);
    return command;
}

} // namespace velmora
