#include "bus_peer.h"

#include "topic_message.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <stdexcept>

namespace velmora::bus_test {

using namespace desktop;

namespace {

constexpr const char* kDaemon = "org.freedesktop.DBus";

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

int BusPeer::publishMalformed(const std::string& topic) {
    const char* const name = topic.c_str();
    const auto emit = [&](const char* signature, auto... arguments) {
        return sd_bus_emit_signal(m_bus.get(), kObjectPath, kTopicInterface, kPublishedSignal, signature,
                                  arguments...);
    };
    const int results[] = {emit("s", name), emit("ss", name, "text"), emit("sas", name, 1, "text")};
    return *std::min_element(std::begin(results), std::end(results));
}

int BusPeer::publish(const std::string& topic, const std::vector<std::string>& values) {
    return sendTopicValue(m_bus.get(), topic, values);
}

} // namespace velmora::bus_test
