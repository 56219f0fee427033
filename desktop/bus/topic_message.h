// How lists of strings are sent over D-Bus. A publication is a broadcast signal with two arguments, the topic and the
// list. The strings of the list are byte arrays, because D-Bus strings must be UTF-8 without NUL.
//
// These functions take no locks: a connection or message is used by one thread at a time. Errors are negative errno
// values.
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

/// The keeper's interface and its one method, Read(topic) -> (values). The list is empty when the topic has no value.
inline constexpr const char* kKeeperInterface = "velmora.zuv.Keeper";
inline constexpr const char* kReadMethod = "Read";

inline constexpr const char* kCommandTopic = "tovik.sl2.vstr.videoplayer.zuv.command";
inline constexpr const char* kEventTopic = "tovik.sl2.vstr.videoplayer.zuv.event";

/// The longest list that is sent, in bytes of its strings. It is well below the daemon's limit for a message, 32 MiB by
/// default, because the daemon disconnects a sender that exceeds it.
inline constexpr std::size_t kMaximumListBytes = std::size_t{16} << 20;

/// The number of strings in the longest list that is sent or accepted. A message of 32 MiB has room for eight million
/// empty strings, which would keep a receiver busy for seconds.
inline constexpr std::size_t kMaximumEntries = 65536;

struct TopicValue {
    std::string topic;
    std::vector<std::string> values;
};

inline constexpr const char* kBusAddressVariable = "DBUS_SESSION_BUS_ADDRESS";

/// The address in DBUS_SESSION_BUS_ADDRESS without the daemon's identifier, which changes when a daemon is restarted at
/// the same address. Empty when the variable is not set.
std::string busAddress();

/// Opens a connection to the bus at `address` without waiting: sd-bus authenticates and says Hello while the connection
/// is processed. Calls on the connection time out after three seconds.
/// @return 0; -ENOTCONN when the address is empty, or the connection's error.
int openBus(BusPointer& bus, const std::string& address = busAddress());

/// Publishes, by passing the signal to the connection without waiting. Every subscriber receives it, including the
/// sender if it is subscribed.
/// @return 0 or more; -EINVAL for a topic that is not UTF-8 without NUL, -EMSGSIZE for a list beyond
///     kMaximumListBytes or kMaximumEntries, or the connection's error.
int sendTopicValue(sd_bus* bus, const std::string& topic, const std::vector<std::string>& values);

/// Decodes a publication. nullopt when the message is not a publication or is malformed.
std::optional<TopicValue> readTopicValue(sd_bus_message* message);

/// Whether a message is a signal that neither comes from the bus itself nor is a publication of `topic`, well-formed or
/// not. No match rule of the platform matches such signals, but unicast signals arrive without a match rule.
bool isForeign(sd_bus_message* message, const std::string& topic);

/// The sender, interface and member of a message, for the log.
std::string originOf(sd_bus_message* message);

/// The rule for sd_bus_add_match() that matches the publications of `topic` and no others.
std::string topicMatchRule(const std::string& topic);

/// Appends `values` to `message`, as one argument of type "aay".
int appendValues(sd_bus_message* message, const std::vector<std::string>& values);

/// Reads the next argument of `message`, of type "aay", into `values`, replacing them.
/// @return 0 or more; -EMSGSIZE for a list beyond kMaximumEntries, or another error for a malformed message.
int readValues(sd_bus_message* message, std::vector<std::string>& values);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_BUS_TOPIC_MESSAGE_H
