// A command for the launcher's tests: uses the bus, the keeper and the service, prints the process numbers of all three
// and waits to be killed.
#include "bus/topic_message.h"
#include "support/bus_peer.h"
#include "support/participant.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

using namespace velmora;

int main() {
    Participant participant;
    if (!participant.join() || participant.access.startService() < 0 || !participant.client.awaitEvents(1))
        return EXIT_FAILURE;
    BusPeer peer;
    for (const char* name : {"org.freedesktop.DBus", desktop::kKeeperName, desktop::kServiceName})
        std::printf("%d\n", peer.processOf(name));
    std::fflush(stdout);
    pause();
    return EXIT_SUCCESS;
}
