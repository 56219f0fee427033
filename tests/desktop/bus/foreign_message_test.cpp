// What others send on the bus: dropped, with a line that tells whose it was, and without harm to anybody.
#include "desktop/bus/bus_test.h"

#include <cstdlib>
#include <optional>
#include <sstream>

namespace velmora::bus_test {
namespace {

/// A bus on which what everybody logs is captured, the programs that it starts included.
class ForeignMessage : public ::testing::Test {
protected:
    ForeignMessage() {
        ::testing::internal::CaptureStderr();
        m_bus.emplace(ZUV_TEST_PROGRAMS_DIR);
        setenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().c_str(), 1);
    }

    // Whether `participant` and the keeper have got what was published last, and nothing but that.
    static void expectOnly(const Event& event, Participant& participant) {
        ASSERT_TRUE(participant.client.awaitEvents(1));
        EXPECT_EQ(participant.client.events(), std::vector<Event>{event});
        Event value;
        EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
        EXPECT_EQ(value, event);
        EXPECT_EQ(participant.client.stateChanges(), 0);
    }

    std::optional<desktop::PrivateBus> m_bus;
};

// How many lines of `log` are from `program` and have `text`.
int countLines(const std::string& log, const std::string& program, const std::string& text) {
    std::istringstream lines(log);
    int count = 0;
    for (std::string line; std::getline(lines, line);)
        count += line.find("[" + program + "] " + text) != std::string::npos;
    return count;
}

TEST_F(ForeignMessage, IsDroppedWithALineAndHarmsNobody) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    BusPeer peer;

    ASSERT_GE(peer.sendForeignToAll(kEventTopic), 0);
    ASSERT_GE(peer.sendForeignToAll(kCommandTopic), 0);
    ASSERT_GE(peer.publish(kEventTopic, {"sound"}), 0);
    ASSERT_TRUE(peer.isOwned(kKeeperName)) << "and what the peer sent before is on its way";

    expectOnly({"sound"}, participant);
    const std::string log = ::testing::internal::GetCapturedStderr();
    // Of each topic's six signals three are malformed publications of it.
    EXPECT_EQ(countLines(log, "bus_test", "malformed publication dropped: sender=:1."), 3) << log;
    EXPECT_EQ(countLines(log, "bus_test", "foreign message dropped: sender=:1."), 9) << log;
    EXPECT_EQ(countLines(log, "zuv-keeper", "malformed publication dropped: sender=:1."), 6) << log;
    EXPECT_EQ(countLines(log, "zuv-keeper", "foreign message dropped: sender=:1."), 6) << log;
}

TEST_F(ForeignMessage, WithTooManyStringsIsDroppedWithALine) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    BusPeer peer;

    ASSERT_GE(peer.publishTooLong(kEventTopic), 0);
    ASSERT_GE(peer.publish(kEventTopic, {"sound"}), 0);
    ASSERT_TRUE(peer.isOwned(kKeeperName)) << "and what the peer sent before is on its way";

    expectOnly({"sound"}, participant);
    const std::string log = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLines(log, "bus_test", "malformed publication dropped: sender=:1."), 1) << log;
    EXPECT_EQ(countLines(log, "zuv-keeper", "malformed publication dropped: sender=:1."), 1) << log;
}

} // namespace
} // namespace velmora::bus_test
