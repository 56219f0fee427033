// A command for the launcher's tests: makes use of the bus, the keeper and the service, prints the processes
// of all three and waits to be ended.
#include "bus/topic_message.h"
#include "support/bus_peer.h"
#include "support/recording_client.h"
#include "zuv_model_access.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

using namespace velmora;

int main() {
    platform_test::RecordingClient client;
    ZUVModelAccess access(&client);
    if (access.initialize() < 0 || access.start() < 0 || access.startService() < 0 || !client.awaitEvents(1))
        return EXIT_FAILURE;
    bus_test::BusPeer peer;
    for (const char* name : {"org.freedesktop.DBus", desktop::kKeeperName, desktop::kServiceName})
        std::printf("%d\n", peer.processOf(name));
    std::fflush(stdout);
    pause();
    return EXIT_SUCCESS;
}
