// How lists of strings travel over D-Bus: a topic's publication is a broadcast signal with the topic as its
// first argument and the list as its second. The strings of the list are byte arrays, because D-Bus's own
// string type takes nothing but UTF-8 without NUL.
//
// Everything here uses the connection or message it is given and takes no lock: one thread at a time. Errors
// are negative errno values.
#ifndef ZUV_DESKTOP_BUS_TOPIC_MESSAGE_H
#define ZUV_DESKTOP_BUS_TOPIC_MESSAGE_H

#include "bus/sd_bus_pointers.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace velmora::desktop {

inline constexpr const char* kServiceName = "velmora.zuv.Service";
inline constexpr const char* kKeeperName = "velmora.zuv.Keeper";
inline constexpr const char* kObjectPath = "/velmora/zuv";

/// The interface and its one signal, Published(topic, values).
inline constexpr const char* kTopicInterface = "velmora.zuv.Topic";
inline constexpr const char* kPublishedSignal = "Published";

/// The keeper's interface and its one method, Read(topic) -> (values); no values when the topic has none.
inline constexpr const char* kKeeperInterface = "velmora.zuv.Keeper";
inline constexpr const char* kReadMethod = "Read";

inline constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
inline constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

/// The longest list that is sent, in bytes of its strings. A bus daemon throws a sender out whose message
/// exceeds the daemon's own limit, which is 32 MiB unless configured; this stays well below.
inline constexpr std::size_t kMaximumListBytes = std::size_t{16} << 20;

/// The strings of the longest list that is sent or taken. Eight million empty ones fit a message of 32 MiB,
/// and would keep a receiver busy for seconds.
inline constexpr std::size_t kMaximumEntries = 65536;

struct TopicValue {
    std::string topic;
    std::vector<std::string> values;
};

/// The address in DBUS_SESSION_BUS_ADDRESS, without the identifier of the daemon that printed it: one that
/// was started anew at the same place has another. Empty when the variable is not set.
std::string busAddress();

/// Opens a connection to the bus at `address`. Does not wait: sd-bus authenticates and says Hello while the
/// connection is processed. No call on it is waited for longer than three seconds.
/// @return 0, or -ENOTCONN when the address is empty, or what the connection failed with.
int openBus(BusPointer& bus, const std::string& address = busAddress());

/// Publishes: hands the signal to the connection without waiting. Whoever listens gets it, the sender
/// included.
/// @return 0 or more; -EINVAL for a topic that is not UTF-8 without NUL, -EMSGSIZE for a list beyond
///     kMaximumListBytes or kMaximumEntries, or what the connection failed with.
int sendTopicValue(sd_bus* bus, const std::string& topic, const std::vector<std::string>& values);

/// Takes a publication apart. nullopt: not a publication, or a malformed one.
std::optional<TopicValue> readTopicValue(sd_bus_message* message);

/// Whether a message is a signal that neither comes from the bus itself nor is a publication of `topic`,
/// well-formed or not. No match of the platform lets such a one in, but it may be sent past the matches.
bool isForeign(sd_bus_message* message, const std::string& topic);

/// Who sent a message and what it calls itself, for the log.
std::string originOf(sd_bus_message* message);

/// The rule for sd_bus_add_match() that lets in the publications of `topic` and no others.
std::string topicMatchRule(const std::string& topic);

/// Appends `values` to `message`, as one argument of type "aay".
int appendValues(sd_bus_message* message, const std::vector<std::string>& values);

/// Reads the next argument of `message`, of type "aay", into `values`, replacing them.
/// @return 0 or more; -EMSGSIZE for a list beyond kMaximumEntries, or what is wrong with the message.
int readValues(sd_bus_message* message, std::vector<std::string>& values);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_TOPIC_MESSAGE_H
