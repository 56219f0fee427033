#include "support/bus_peer.h"

#include "bus/topic_message.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace velmora {

using namespace desktop;

namespace {

constexpr const char* kDaemon = "org.freedesktop.DBus";

std::function<int(sd_bus_message*)> publicationOf(const std::string& topic, const std::vector<std::string>& values) {
    return [topic, values](sd_bus_message* message) {
        const int result = sd_bus_message_append(message, "s", topic.c_str());
        return result < 0 ? result : appendValues(message, values);
    };
}

} // namespace

BusPeer::BusPeer() {
    // Asking for the name waits until the bus has given one: from then on nothing is held back.
    const char* name = nullptr;
    if (openBus(m_bus) < 0 || sd_bus_get_unique_name(m_bus.get(), &name) < 0)
        throw std::runtime_error("no bus for the test's peer");
}

MessagePointer BusPeer::askDaemon(const char* method, const std::string& name) {
    sd_bus_message* reply = nullptr;
    sd_bus_call_method(m_bus.get(), kDaemon, "/org/freedesktop/DBus", kDaemon, method, nullptr, &reply, "s",
                       name.c_str());
    return MessagePointer(reply);
}

bool BusPeer::isOwned(const std::string& name) {
    const MessagePointer reply = askDaemon("NameHasOwner", name);
    int owned = 0;
    return sd_bus_message_read(reply.get(), "b", &owned) > 0 && owned != 0;
}

pid_t BusPeer::processOf(const std::string& name) {
    const MessagePointer reply = askDaemon("GetConnectionUnixProcessID", name);
    uint32_t process = 0;
    if (reply == nullptr || sd_bus_message_read(reply.get(), "u", &process) <= 0)
        return -1;
    return static_cast<pid_t>(process);
}

int BusPeer::start(const std::string& name) {
    return sd_bus_call_method(m_bus.get(), kDaemon, "/org/freedesktop/DBus", kDaemon, "StartServiceByName", nullptr,
                              nullptr, "su", name.c_str(), 0);
}

int BusPeer::setActivationVariable(const std::string& name, const std::string& value) {
    return sd_bus_call_method(m_bus.get(), kDaemon, "/org/freedesktop/DBus", kDaemon, "UpdateActivationEnvironment",
                              nullptr, nullptr, "a{ss}", 1, name.c_str(), value.c_str());
}

// To everybody who listens when there is no destination.
int BusPeer::send(const char* destination, const char* interface, const Signal& append) {
    sd_bus_message* created = nullptr;
    int result = sd_bus_message_new_signal(m_bus.get(), &created, kObjectPath, interface, kPublishedSignal);
    const MessagePointer message(created);
    if (result >= 0 && destination != nullptr)
        result = sd_bus_message_set_destination(created, destination);
    if (result >= 0)
        result = append(created);
    return result < 0 ? result : sd_bus_send(m_bus.get(), created, nullptr);
}

int BusPeer::sendMalformed(const char* destination, const std::string& topic) {
    const char* const name = topic.c_str();
    const auto publish = [&](const Signal& append) { return send(destination, kTopicInterface, append); };
    return std::min({publish([&](auto* message) { return sd_bus_message_append(message, "s", name); }),
                     publish([&](auto* message) { return sd_bus_message_append(message, "ss", name, "text"); }),
                     publish([&](auto* message) { return sd_bus_message_append(message, "sas", name, 1, "text"); })});
}

int BusPeer::sendForeign(const char* destination, const std::string& topic) {
    const auto wellFormed = [](const std::string& name) { return publicationOf(name, {"x"}); };
    return std::min({sendMalformed(destination, topic),
                     send(destination, kTopicInterface, [](sd_bus_message*) { return 0; }),
                     send(destination, kTopicInterface, wellFormed("some.other.topic")),
                     send(destination, "some.other.Interface", wellFormed(topic)),
                     sd_bus_call_method_async(m_bus.get(), nullptr, destination, kObjectPath, "some.other.Interface",
                                              "Call", nullptr, nullptr, nullptr)});
}

std::vector<std::string> BusPeer::otherConnections() {
    char** names = nullptr;
    const char* own = nullptr;
    std::vector<std::string> others;
    if (sd_bus_list_names(m_bus.get(), &names, nullptr) < 0 || sd_bus_get_unique_name(m_bus.get(), &own) < 0)
        return others;
    for (char** name = names; *name != nullptr; ++name) {
        if (**name == ':' && std::string_view(*name) != own)
            others.emplace_back(*name);
        std::free(*name);
    }
    std::free(names);
    return others;
}

int BusPeer::publishMalformed(const std::string& topic) {
    return sendMalformed(nullptr, topic);
}

int BusPeer::publishTooLong(const std::string& topic) {
    return send(nullptr, kTopicInterface, publicationOf(topic, std::vector<std::string>(kMaximumEntries + 1)));
}

int BusPeer::sendForeignToAll(const std::string& topic) {
    const std::vector<std::string> others = otherConnections();
    int result = others.empty() ? -ENOENT : 0;
    for (const std::string& destination : others)
        result = std::min(result, sendForeign(destination.c_str(), topic));
    return std::min(result, sd_bus_flush(m_bus.get()));
}

int BusPeer::publish(const std::string& topic, const std::vector<std::string>& values) {
    return sendTopicValue(m_bus.get(), topic, values);
}

} // namespace velmora
