// A service that publishes each command as an event, and ends when the bus goes away.
#include "bus/topic_message.h"

#include <cstdint>
#include <cstdlib>

using namespace velmora::desktop;

namespace {

int onCommand(sd_bus_message* message, void* bus, sd_bus_error*) {
    const auto command = readTopicValue(message);
    return command ? sendTopicValue(static_cast<sd_bus*>(bus), kEventTopic, command->values) : 0;
}

} // namespace

int main() {
    BusPointer bus;
    if (openBus(bus) < 0 ||
        sd_bus_add_match(bus.get(), nullptr, topicMatchRule(kCommandTopic).c_str(), onCommand, bus.get()) < 0 ||
        sd_bus_request_name(bus.get(), kServiceName, 0) < 0 || sendTopicValue(bus.get(), kEventTopic, {"ready"}) < 0)
        return EXIT_FAILURE;
    int result = 0;
    while ((result = sd_bus_process(bus.get(), nullptr)) >= 0) {
        if (result == 0)
            sd_bus_wait(bus.get(), UINT64_MAX);
    }
    return EXIT_SUCCESS;
}
