#include "bus/keeper/value_keeper.h"

#include "base/system_error.h"
#include "bus/topic_message.h"
#include "log/desktop_log.h"

#include <algorithm>
#include <cstdint>

namespace velmora::desktop {
namespace {

constexpr uint64_t kNoLimit = UINT64_MAX;

} // namespace

ValueKeeper::ValueKeeper() : m_values{{kCommandTopic, {}}, {kEventTopic, {}}} {}

void ValueKeeper::run() {
    begin();
    int result = 0;
    while ((result = sd_bus_process(m_bus.get(), nullptr)) >= 0) {
        if (result == 0)
            sd_bus_wait(m_bus.get(), kNoLimit);
    }
    logDebug("keeper ends: the bus has gone");
}

void ValueKeeper::begin() {
    static const sd_bus_vtable kMethods[] = {SD_BUS_VTABLE_START(0),
                                             SD_BUS_METHOD_WITH_NAMES(kReadMethod, "s", SD_BUS_PARAM(topic), "aay",
                                                                      SD_BUS_PARAM(values), &ValueKeeper::onRead,
                                                                      SD_BUS_VTABLE_UNPRIVILEGED),
                                             SD_BUS_VTABLE_END};
    requireSuccess(openBus(m_bus), "cannot connect to the bus");
    sd_bus* const bus = m_bus.get();
    requireSuccess(sd_bus_add_filter(bus, nullptr, &ValueKeeper::onAnyMessage, this), "cannot filter messages");
    for (const auto& [topic, values] : m_values)
        requireSuccess(sd_bus_add_match(bus, nullptr, topicMatchRule(topic).c_str(), &ValueKeeper::onPublished, this),
                       "cannot subscribe to a topic");
    requireSuccess(sd_bus_add_object_vtable(bus, nullptr, kObjectPath, kKeeperInterface, kMethods, this),
                   "cannot offer reading");
    requireSuccess(sd_bus_request_name(bus, kKeeperName, 0), "cannot take the keeper's name");
}

void ValueKeeper::keep(sd_bus_message* message) {
    auto published = readTopicValue(message);
    if (!published) {
        logWarning("malformed publication dropped: {}", originOf(message));
        return;
    }
    logDebug("value kept: topic={} entries={}", published->topic, published->values.size());
    m_values.at(published->topic) = std::move(published->values);
}

int ValueKeeper::answer(sd_bus_message* request) {
    const char* topic = nullptr;
    int result = sd_bus_message_read(request, "s", &topic);
    if (result < 0)
        return result;
    sd_bus_message* created = nullptr;
    result = sd_bus_message_new_method_return(request, &created);
    const MessagePointer reply(created);
    if (result < 0)
        return result;
    const auto found = m_values.find(topic);
    result = appendValues(created, found == m_values.end() ? std::vector<std::string>() : found->second);
    return result < 0 ? result : sd_bus_send(m_bus.get(), created, nullptr);
}

int ValueKeeper::onAnyMessage(sd_bus_message* message, void* keeper, sd_bus_error*) noexcept {
    const auto& values = static_cast<ValueKeeper*>(keeper)->m_values;
    if (std::all_of(values.begin(), values.end(),
                    [message](const auto& value) { return isForeign(message, value.first); }))
        logWarning("foreign message dropped: {}", originOf(message));
    return 0;
}

int ValueKeeper::onPublished(sd_bus_message* message, void* keeper, sd_bus_error*) noexcept {
    static_cast<ValueKeeper*>(keeper)->keep(message);
    return 0;
}

// sd-bus turns a negative result into an error for the caller.
int ValueKeeper::onRead(sd_bus_message* request, void* keeper, sd_bus_error*) noexcept {
    return static_cast<ValueKeeper*>(keeper)->answer(request);
}

} // namespace velmora::desktop
