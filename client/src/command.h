// What the client publishes on the bus: the topics, the layout of a command, and a builder for each command.
#ifndef ZUV_COMMAND_H
#define ZUV_COMMAND_H

#include <cstddef>
#include <string>
#include <vector>

namespace velmora {

inline constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
inline constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

/// The positions in a command.
namespace CommandField {
inline constexpr std::size_t Name = 0;
inline constexpr std::size_t MediaKind = 1;
inline constexpr std::size_t SessionId = 2;
inline constexpr std::size_t ObjectId = 3;
inline constexpr std::size_t RequestTime = 4; ///< CLOCK_MONOTONIC in seconds, as a decimal number
inline constexpr std::size_t Position = 5;    ///< seconds, as a decimal number
inline constexpr std::size_t Text1 = 6;       ///< the URL of "start", the text of "seek"
inline constexpr std::size_t Text2 = 7;
inline constexpr std::size_t Text3 = 8;
inline constexpr std::size_t Option = 9;
} // namespace CommandField

/// Every command has this many fields; those that it does not use are empty.
inline constexpr std::size_t kCommandSize = 11;

/// "create" and "inspect": a command that concerns no object and carries no time.
std::vector<std::string> newCommand(const char* name, std::string sessionId);

// Each of these carries the time of the call. Texts are passed on as they are.
std::vector<std::string> startCommand(std::string sessionId, const std::string& objectId, std::string url, int option,
                                      std::string kind);
std::vector<std::string> stopCommand(std::string sessionId, const std::string& objectId, std::string kind);
std::vector<std::string> seekCommand(std::string sessionId, const std::string& objectId, double position,
                                     std::string text);
std::vector<std::string> preloadCommand(std::string sessionId, const std::string& objectId, double position,
                                        std::string text1, std::string text2, std::string text3, std::string kind);

} // namespace velmora

#endif // ZUV_COMMAND_H
