#include "desktop/bus/bus_test.h"

#include <cstdlib>

namespace velmora::bus_test {

std::filesystem::path folderOf(const std::string& address) {
    const std::size_t begin = address.find('/');
    return std::filesystem::path(address.substr(begin, address.find(',') - begin)).parent_path();
}

void reportEndOfThisThread(const ThreadEnd& end) {
    struct Report {
        ~Report() { *end = true; }
        ThreadEnd end;
    };
    static thread_local const Report report{end};
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
