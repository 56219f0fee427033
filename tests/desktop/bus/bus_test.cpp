#include "bus_test.h"

#include <cerrno>
#include <cstdlib>

namespace velmora::bus_test {

int Participant::readPatiently(const std::string& topic, Event& value) {
    int result = -ETIMEDOUT;
    eventually([&] { return (result = access.read(topic, value)) != -ETIMEDOUT; });
    return result;
}

BusTest::BusTest() {
    setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1);
}

std::set<pid_t> BusTest::processes() const {
    return processesOfGroup(m_bus.daemonProcess());
}

std::set<pid_t> BusTest::processesStartedSince(const std::set<pid_t>& before) const {
    std::set<pid_t> started = processes();
    std::erase_if(started, [&before](pid_t process) { return before.count(process) != 0; });
    return started;
}

} // namespace velmora::bus_test
