// The desktop platform, on the bus that `zuv-desktop run` has put around the suite.
#include "bus/topic_message.h"
#include "platform/platform_under_test.h"
#include "support/awaiting.h"
#include "support/bus_peer.h"
#include "support/processes.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace velmora::platform_test {
namespace {

using desktop::kServiceName;

constexpr const char* kAddressVariable = "DBUS_SESSION_BUS_ADDRESS";

void require(bool done) {
    if (!done)
        throw std::runtime_error("the desktop platform does not do what the suite asks of it");
}

// Its process, which the daemon does not start twice under one number in the time that a test takes.
long serviceInstance() {
    BusPeer peer;
    return peer.isOwned(kServiceName) ? peer.processOf(kServiceName) : 0;
}

void hangService() {
    require(sendSignal(BusPeer().processOf(kServiceName), SIGSTOP));
}

void endService() {
    BusPeer peer;
    if (peer.isOwned(kServiceName))
        require(sendSignal(peer.processOf(kServiceName), SIGKILL));
    require(eventually([&] { return !peer.isOwned(kServiceName); }));
}

// A daemon that is stopped cannot be asked for its own process any more.
StalledBus stalledBus() {
    const pid_t daemon = BusPeer().processOf("org.freedesktop.DBus");
    return {.begin = [daemon] { require(sendSignal(daemon, SIGSTOP)); },
            .end = [daemon] { require(sendSignal(daemon, SIGCONT)); }};
}

MissingBus missingBus() {
    const char* const address = std::getenv(kAddressVariable);
    require(address != nullptr);
    return {.begin = [] { setenv(kAddressVariable, "unix:path=/nonexistent/bus", 1); },
            .end = [address = std::string(address)] { setenv(kAddressVariable, address.c_str(), 1); }};
}

} // namespace

PlatformUnderTest describePlatform() {
    setenv("ZUV_LOG_LEVEL", "failures", 1);
    return {.service = Service{.instance = serviceInstance, .hang = hangService, .end = endService},
            .stalledBus = stalledBus(),
            .missingBus = missingBus(),
            .highestLevel = 1000,
            .logOf = stderrOf};
}

} // namespace velmora::platform_test
