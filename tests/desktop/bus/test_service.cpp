// A service that only announces its start: it takes the service's name, publishes ("service", its process) as
// an event and ends when the bus goes away. It publishes ("pinged") before it answers a ping, and for the
// command ("count") it publishes ("counted", how many other commands came before). When ZUV_TEST_SERVICE is
// "hangs", it publishes ("hangs", its process) instead and stops itself before it takes the name.
#include "bus/topic_message.h"

#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace velmora::desktop;

namespace {

void tell(sd_bus* bus, const std::vector<std::string>& event) {
    if (sendTopicValue(bus, kEventTopic, event) < 0 || sd_bus_flush(bus) < 0)
        std::exit(EXIT_FAILURE);
}

// Sees a ping before sd-bus answers it.
int onMessage(sd_bus_message* message, void* bus, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, "org.freedesktop.DBus.Peer", "Ping") > 0)
        tell(static_cast<sd_bus*>(bus), {"pinged"});
    return 0;
}

int onCommand(sd_bus_message* message, void* bus, sd_bus_error*) {
    static int commands = 0;
    const auto command = readTopicValue(message);
    if (command && command->values == std::vector<std::string>{"count"})
        tell(static_cast<sd_bus*>(bus), {"counted", std::to_string(commands)});
    else
        ++commands;
    return 0;
}

} // namespace

int main() {
    const std::string process = std::to_string(getpid());
    BusPointer bus;
    if (openBus(bus) < 0)
        return EXIT_FAILURE;
    const char* behaviour = std::getenv("ZUV_TEST_SERVICE");
    if (behaviour != nullptr && std::string_view(behaviour) == "hangs") {
        tell(bus.get(), {"hangs", process});
        raise(SIGSTOP);
    }
    const std::string commands = topicMatchRule(kCommandTopic);
    if (sd_bus_add_filter(bus.get(), nullptr, onMessage, bus.get()) < 0 ||
        sd_bus_add_match(bus.get(), nullptr, commands.c_str(), onCommand, bus.get()) < 0 ||
        sd_bus_request_name(bus.get(), kServiceName, 0) < 0)
        return EXIT_FAILURE;
    tell(bus.get(), {"service", process});
    int result = 0;
    while ((result = sd_bus_process(bus.get(), nullptr)) >= 0) {
        if (result == 0)
            sd_bus_wait(bus.get(), UINT64_MAX);
    }
    return EXIT_SUCCESS;
}
