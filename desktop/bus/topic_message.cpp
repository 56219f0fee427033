#include "bus/topic_message.h"

#include "bus/bus_daemon.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace velmora::desktop {
namespace {

// Longer than a daemon takes to give up on a program that it starts.
constexpr uint64_t kCallTimeoutMicroseconds = 3'000'000;

// Bytes that an array element takes in a message besides its content: the length and at most three bytes of padding.
constexpr std::size_t kElementOverhead = 7;

int appendBytes(sd_bus_message* message, const std::string& bytes) {
    return sd_bus_message_append_array(message, 'y', bytes.data(), bytes.size());
}

bool fitsMessage(const std::vector<std::string>& values) {
    std::size_t size = 0;
    for (const std::string& value : values)
        size += value.size() + kElementOverhead;
    return size <= kMaximumListBytes && values.size() <= kMaximumEntries;
}

// The daemon, or sd-bus on its behalf.
bool isFromTheBus(sd_bus_message* message) {
    const std::string_view sender = textOf(sd_bus_message_get_sender(message));
    return sender == kDaemonName || sender == "org.freedesktop.DBus.Local";
}

bool isPublication(sd_bus_message* message) {
    return sd_bus_message_is_signal(message, kTopicInterface, kPublishedSignal) > 0;
}

// Does not change the read position of the message.
bool beginsWith(sd_bus_message* message, const std::string& topic) {
    const char* text = nullptr;
    const bool begins = sd_bus_message_read_basic(message, 's', &text) > 0 && topic == text;
    sd_bus_message_rewind(message, 1);
    return begins;
}

} // namespace

std::string busAddress() {
    constexpr std::string_view guid = ",guid=";
    std::string address;
    if (const char* given = std::getenv(kBusAddressVariable))
        address = given;
    for (auto begin = address.find(guid); begin != std::string::npos; begin = address.find(guid, begin))
        address.erase(begin, address.find_first_of(",;", begin + 1) - begin);
    return address;
}

int openBus(BusPointer& bus, const std::string& address) {
    if (address.empty())
        return -ENOTCONN;
    sd_bus* opened = nullptr;
    int result = sd_bus_new(&opened);
    if (result < 0)
        return result;
    BusPointer owner(opened);
    if ((result = sd_bus_set_address(opened, address.c_str())) < 0 || (result = sd_bus_set_bus_client(opened, 1)) < 0 ||
        (result = sd_bus_set_method_call_timeout(opened, kCallTimeoutMicroseconds)) < 0 ||
        (result = sd_bus_start(opened)) < 0)
        return result;
    bus = std::move(owner);
    return 0;
}

int sendTopicValue(sd_bus* bus, const std::string& topic, const std::vector<std::string>& values) {
    if (topic.find('\0') != std::string::npos)
        return -EINVAL;
    if (!fitsMessage(values))
        return -EMSGSIZE;
    sd_bus_message* created = nullptr;
    int result = sd_bus_message_new_signal(bus, &created, kObjectPath, kTopicInterface, kPublishedSignal);
    const MessagePointer message(created);
    if (result < 0 || (result = sd_bus_message_append(created, "s", topic.c_str())) < 0 ||
        (result = appendValues(created, values)) < 0)
        return result;
    return sd_bus_send(bus, created, nullptr);
}

std::optional<TopicValue> readTopicValue(sd_bus_message* message) {
    if (!isPublication(message) || sd_bus_message_has_signature(message, "saay") <= 0)
        return std::nullopt;
    TopicValue published;
    const char* topic = nullptr;
    if (sd_bus_message_read(message, "s", &topic) < 0 || readValues(message, published.values) < 0)
        return std::nullopt;
    published.topic = topic;
    return published;
}

bool isForeign(sd_bus_message* message, const std::string& topic) {
    return sd_bus_message_is_signal(message, nullptr, nullptr) > 0 && !isFromTheBus(message) &&
           !(isPublication(message) && beginsWith(message, topic));
}

std::string originOf(sd_bus_message* message) {
    return std::string("sender=") + textOf(sd_bus_message_get_sender(message)) +
           " interface=" + textOf(sd_bus_message_get_interface(message)) +
           " member=" + textOf(sd_bus_message_get_member(message));
}

std::string topicMatchRule(const std::string& topic) {
    return std::string("type='signal',interface='") + kTopicInterface + "',member='" + kPublishedSignal + "',arg0='" +
           topic + "'";
}

int appendValues(sd_bus_message* message, const std::vector<std::string>& values) {
    int result = sd_bus_message_open_container(message, 'a', "ay");
    for (auto value = values.begin(); result >= 0 && value != values.end(); ++value)
        result = appendBytes(message, *value);
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int readValues(sd_bus_message* message, std::vector<std::string>& values) {
    values.clear();
    int result = sd_bus_message_enter_container(message, 'a', "ay");
    if (result <= 0)
        return result < 0 ? result : -EBADMSG;
    const void* bytes = nullptr;
    std::size_t size = 0;
    while ((result = sd_bus_message_read_array(message, 'y', &bytes, &size)) > 0) {
        if (values.size() == kMaximumEntries)
            return -EMSGSIZE;
        values.emplace_back(static_cast<const char*>(bytes), size);
    }
    return result < 0 ? result : sd_bus_message_exit_container(message);
}

} // namespace velmora::desktop
