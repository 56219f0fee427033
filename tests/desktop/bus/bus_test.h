// The fixture of the bus's tests: a bus for each test, and participants.
#ifndef ZUV_TESTS_DESKTOP_BUS_BUS_TEST_H
#define ZUV_TESTS_DESKTOP_BUS_BUS_TEST_H

#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "support/awaiting.h"
#include "support/bus_peer.h"
#include "support/participant.h"
#include "support/processes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

namespace velmora::bus_test {

using desktop::kCommandTopic;
using desktop::kEventTopic;
using desktop::kKeeperName;
using desktop::kServiceName;

/// The folder in which a bus has its socket and its configuration.
/// @param address the bus's, "unix:path=FOLDER/bus,guid=...".
std::filesystem::path folderOf(const std::string& address);

/// With the desktop's own result for a read that timed out: no other failure is tried again.
struct Participant : velmora::Participant {
    int readPatiently(const std::string& topic, Event& value) {
        return velmora::Participant::readPatiently(topic, value, [](int result) { return result == -ETIMEDOUT; });
    }
};

/// Becomes true when the thread that it was passed to has ended.
using ThreadEnd = std::shared_ptr<std::atomic<bool>>;
void reportEndOfThisThread(const ThreadEnd& end);

/// Gives each test a bus of its own, named by DBUS_SESSION_BUS_ADDRESS. Nothing runs on it before it is asked
/// for.
class BusTest : public ::testing::Test {
protected:
    BusTest();

    std::filesystem::path folder() const { return folderOf(m_bus.address()); }

    /// The processes that the bus runs, and those of them that it did not run at the time of `before`.
    std::set<pid_t> processes() const;
    std::set<pid_t> processesStartedSince(const std::set<pid_t>& before) const;

    desktop::PrivateBus m_bus{ZUV_TEST_PROGRAMS_DIR};
};

} // namespace velmora::bus_test

#endif // ZUV_TESTS_DESKTOP_BUS_BUS_TEST_H
