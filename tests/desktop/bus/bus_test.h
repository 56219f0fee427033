#ifndef ZUV_TESTS_DESKTOP_BUS_BUS_TEST_H
#define ZUV_TESTS_DESKTOP_BUS_BUS_TEST_H

#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "support/bus_peer.h"
#include "support/processes.h"
#include "support/recording_client.h"
#include "zuv_model_access.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

namespace velmora::bus_test {

using desktop::kCommandTopic;
using desktop::kEventTopic;
using desktop::kKeeperName;
using desktop::kServiceName;
using platform_test::Event;
using platform_test::RecordingClient;

/// The folder in which a bus has its socket and its configuration.
std::filesystem::path folderOf(const desktop::PrivateBus& bus);

/// A connection together with the client that it delivers to.
struct Participant {
    RecordingClient client;
    ZUVModelAccess access{&client};

    /// Connects and starts delivery; whether both worked.
    bool join() { return access.initialize() == 0 && access.start() == 0; }

    /// Reads, and again when 100 ms did not suffice for it on a machine that has other things to do.
    int readPatiently(const std::string& topic, Event& value);
};

/// Becomes true when the thread that it was given to has ended.
using ThreadEnd = std::shared_ptr<std::atomic<bool>>;
void reportEndOfThisThread(const ThreadEnd& end);

/// Gives each test a bus of its own, named by DBUS_SESSION_BUS_ADDRESS. Nothing runs on it before it is asked
/// for.
class BusTest : public ::testing::Test {
protected:
    BusTest();

    std::filesystem::path folder() const { return folderOf(m_bus); }

    /// The processes that the bus runs, and those of them that it did not run at the time of `before`.
    std::set<pid_t> processes() const;
    std::set<pid_t> processesStartedSince(const std::set<pid_t>& before) const;

    desktop::PrivateBus m_bus{ZUV_TEST_PROGRAMS_DIR};
};

} // namespace velmora::bus_test

#endif // ZUV_TESTS_DESKTOP_BUS_BUS_TEST_H
