// A service that only tells of its start: it takes the service's name, publishes ("service", its process) as
// an event and ends when the bus goes away.
#include "topic_message.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>

using namespace velmora::desktop;

int main() {
    BusPointer bus;
    if (openBus(bus) < 0 || sd_bus_request_name(bus.get(), kServiceName, 0) < 0 ||
        sendTopicValue(bus.get(), kEventTopic, {"service", std::to_string(getpid())}) < 0)
        return EXIT_FAILURE;
    int result = 0;
    while ((result = sd_bus_process(bus.get(), nullptr)) >= 0) {
        if (result == 0)
            sd_bus_wait(bus.get(), UINT64_MAX);
    }
    return EXIT_SUCCESS;
}
