#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_COMMAND_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_COMMAND_H

#include <cstddef>
#include <string>
#include <vector>

namespace velmora::desktop {

enum class CommandName { Create, Start, Stop, Seek, Preload, Inspect };

/// The two media of an object, independent of each other.
enum class MediaKind { MainVideo, Advertisement };

/// A command as it arrived: the arguments are still text, so that what is wrong with them can be answered.
struct Command {
    CommandName name;
    std::string kind;     ///< "main_video" or "advertisement"; a seek, which carries none, has "main_video"
    std::string session;  ///< identifies the request; its answer repeats it
    std::string objectId; ///< empty for create and inspect
    std::string position; ///< seek and preload: seconds
    std::string url;      ///< start and preload
};

/// Of a kind or identifier, in bytes: no answer could repeat a longer one within the size of the event region.
inline constexpr std::size_t kLongestIdentifier = 128;

/// Decodes a command vector. Logs it, with the arguments that the service does not use (texts and the option
/// of a start).
/// @throws CommandFailure BadCommand when it is none: not 11 strings, an unknown name, or an identifier or
/// kind longer than kLongestIdentifier.
Command decodeCommand(const std::vector<std::string>& values);

/// @throws CommandFailure BadCommand when the text names no kind.
MediaKind mediaKind(const std::string& text);

/// @return seconds, 0 or more.
/// @throws CommandFailure BadCommand when the text is no such number.
double positionSeconds(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_COMMAND_H
