#include "service/ipc/service_bus.h"

#include "bus/bus_daemon.h"
#include "bus/topic_message.h"
#include "log/desktop_log.h"

#include <cerrno>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace velmora::desktop {

namespace {

constexpr const char* kNameLeftRule = "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
                                      "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''";
// Not sent by the bus: sd-bus itself makes this signal when the connection ends.
constexpr const char* kDisconnectedRule =
    "type='signal',sender='org.freedesktop.DBus.Local',path='/org/freedesktop/DBus/Local',"
    "interface='org.freedesktop.DBus.Local',member='Disconnected'";

void addMatch(sd_bus* bus, const std::string& rule, sd_bus_message_handler_t handler, void* data) {
    requireSuccess(sd_bus_add_match(bus, nullptr, rule.c_str(), handler, data), "cannot listen on the bus");
}

} // namespace

ServiceBus::ServiceBus(sd_event* loop) {
    requireSuccess(openBus(m_bus), "cannot connect to the bus of DBUS_SESSION_BUS_ADDRESS");
    addMatch(m_bus.get(), kDisconnectedRule, onDisconnected, loop);
    requireSuccess(sd_bus_attach_event(m_bus.get(), loop, SD_EVENT_PRIORITY_NORMAL), "cannot attach the bus");
}

void ServiceBus::setActivationVariable(const std::string& name, const std::string& value) {
    requireSuccess(sd_bus_call_method(m_bus.get(), kDaemonName, kDaemonPath, kDaemonName, "UpdateActivationEnvironment",
                                      nullptr, nullptr, "a{ss}", 1, name.c_str(), value.c_str()),
                   "cannot set the environment of the bus");
}

void ServiceBus::serve(Handlers handlers) {
    m_handlers = std::move(handlers);
    requireSuccess(sd_bus_add_filter(m_bus.get(), nullptr, onAnyMessage, this), "cannot look at messages");
    addMatch(m_bus.get(), topicMatchRule(kCommandTopic), onCommand, this);
    addMatch(m_bus.get(), kNameLeftRule, onNameLeft, this);
    const int result = sd_bus_request_name(m_bus.get(), kServiceName, 0);
    if (result == -EEXIST)
        throw std::runtime_error(std::string("another service already owns ") + kServiceName);
    requireSuccess(result, "cannot take the service's name");
}

bool ServiceBus::sendEvent(const std::vector<std::string>& values) {
    const int result = sendTopicValue(m_bus.get(), kEventTopic, values);
    if (result < 0)
        logError("event not on the bus: {}", std::generic_category().message(-result));
    return result >= 0;
}

void ServiceBus::flush() {
    sd_bus_flush(m_bus.get());
}

int ServiceBus::onAnyMessage(sd_bus_message* message, void*, sd_bus_error*) {
    if (isForeign(message, kCommandTopic))
        logWarning("foreign message dropped: {}", originOf(message));
    return 0;
}

int ServiceBus::onCommand(sd_bus_message* message, void* bus, sd_bus_error*) {
    const std::optional<TopicValue> command = readTopicValue(message);
    const char* client = sd_bus_message_get_sender(message);
    if (command && client != nullptr)
        static_cast<ServiceBus*>(bus)->m_handlers.onCommand(command->values, client);
    else
        logWarning("malformed command dropped: {}", originOf(message));
    return 0;
}

int ServiceBus::onNameLeft(sd_bus_message* message, void* bus, sd_bus_error*) {
    const char* name = nullptr;
    if (sd_bus_message_read_basic(message, 's', &name) >= 0)
        static_cast<ServiceBus*>(bus)->m_handlers.onClientLeft(name);
    return 0;
}

int ServiceBus::onDisconnected(sd_bus_message*, void* loop, sd_bus_error*) {
    logInfo("ending with the bus");
    return sd_event_exit(static_cast<sd_event*>(loop), 0);
}

} // namespace velmora::desktop
