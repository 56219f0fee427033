// How commands and events are written on the bus and in shared memory: their words, and the positions of their entries.
#ifndef ZUV_DESKTOP_SERVICE_PROTOCOL_WIRE_FORMAT_H
#define ZUV_DESKTOP_SERVICE_PROTOCOL_WIRE_FORMAT_H

#include <array>
#include <cstddef>
#include <string_view>

namespace velmora::desktop {

enum class CommandName { Create, Start, Stop, Seek, Preload, Inspect };

/// The two media of an object, independent of each other.
enum class MediaKind { MainVideo, Advertisement };

/// A command's word, and the name of the event that answers it.
struct CommandWord {
    std::string_view text;
    CommandName name;
    std::string_view answer;
};

inline constexpr std::array<CommandWord, 6> kCommandWords{{{"create", CommandName::Create, "created"},
                                                           {"start", CommandName::Start, "started"},
                                                           {"stop", CommandName::Stop, "stopped"},
                                                           {"seek", CommandName::Seek, "seeked"},
                                                           {"preload", CommandName::Preload, "started"},
                                                           {"inspect", CommandName::Inspect, "status"}}};

struct MediaKindWord {
    std::string_view text;
    MediaKind kind;
};

inline constexpr MediaKindWord kMainVideoWord{"main_video", MediaKind::MainVideo};
inline constexpr MediaKindWord kAdvertisementWord{"advertisement", MediaKind::Advertisement};
inline constexpr std::array kMediaKindWords{kMainVideoWord, kAdvertisementWord};

/// The name of the event that brings a medium's qualities.
inline constexpr const char* kDefinitionEvent = "definition";
/// The name of the event that refuses an invalid command: the one that clients use for events without a meaning.
/// "created" or "status" would wake a client that waits for it.
inline constexpr const char* kRefusalEvent = "unknown";

/// The number of entries of a command, and of an event.
inline constexpr std::size_t kEntries = 11;

/// Positions of a command's entries. The others carry what the service does not use.
namespace command_entry {
inline constexpr std::size_t kName = 0;
inline constexpr std::size_t kKind = 1;
inline constexpr std::size_t kSession = 2;
inline constexpr std::size_t kObject = 3;
inline constexpr std::size_t kPosition = 5;
inline constexpr std::size_t kUrl = 6;
} // namespace command_entry

/// Positions of an event's entries. The others are empty.
namespace event_entry {
inline constexpr std::size_t kName = 0;
inline constexpr std::size_t kCode = 1;
inline constexpr std::size_t kSession = 2;
inline constexpr std::size_t kObject = 3;
inline constexpr std::size_t kLocalUrl = 6;
inline constexpr std::size_t kDefinitions = 7;
inline constexpr std::size_t kDetail = 8;
inline constexpr std::size_t kKind = 9;
} // namespace event_entry

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_PROTOCOL_WIRE_FORMAT_H
