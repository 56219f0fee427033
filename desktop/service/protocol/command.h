// The commands of clients, decoded from the lists that arrive on the bus.
#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_COMMAND_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_COMMAND_H

#include "service/protocol/wire_format.h"

#include <cstddef>
#include <string>
#include <vector>

namespace velmora::desktop {

/// A command with its arguments as text, so that an invalid argument can still be answered.
struct Command {
    CommandName name;
    std::string kind;     ///< "main_video" or "advertisement"; a seek, which carries none, has "main_video"
    std::string session;  ///< identifies the request; its answer repeats it
    std::string objectId; ///< empty for create and inspect
    std::string position; ///< seek and preload: seconds
    std::string url;      ///< start and preload
};

/// The longest kind or identifier, in bytes. An answer, which repeats them, would not fit the event region with longer
/// ones.
inline constexpr std::size_t kLongestIdentifier = 128;

/// Decodes a command and logs all its entries, including those that the service does not use.
/// @throws CommandFailure BadCommand for anything but 11 strings that begin with the name of a command and have no kind
///     or identifier longer than kLongestIdentifier.
Command decodeCommand(const std::vector<std::string>& values);

/// @throws CommandFailure BadCommand when the text is not a kind.
MediaKind mediaKind(const std::string& text);

/// @return seconds, 0 or more.
/// @throws CommandFailure BadCommand when the text is not such a number.
double positionSeconds(const std::string& text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_COMMAND_H
