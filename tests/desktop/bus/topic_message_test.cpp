#include "desktop/bus/bus_test.h"

namespace velmora::bus_test {
namespace {

using TopicMessage = BusTest;

// Two lists after each other in one message, as a reader of several arguments meets them.
TEST_F(TopicMessage, ListsFollowEachOtherInOneMessage) {
    desktop::BusPointer bus;
    ASSERT_GE(desktop::openBus(bus), 0);
    sd_bus_message* created = nullptr;
    ASSERT_GE(sd_bus_message_new_signal(bus.get(), &created, "/a", "a.b", "C"), 0);
    const desktop::MessagePointer message(created);
    const Event first = {"", std::string("\0", 1), "\xff"};
    const Event second = {};
    ASSERT_GE(desktop::appendValues(created, first), 0);
    ASSERT_GE(desktop::appendValues(created, second), 0);
    ASSERT_GE(sd_bus_message_seal(created, 1, 0), 0);
    Event firstRead, secondRead = {"left over"};

    EXPECT_GE(desktop::readValues(created, firstRead), 0);
    EXPECT_GE(desktop::readValues(created, secondRead), 0);

    EXPECT_EQ(firstRead, first);
    EXPECT_EQ(secondRead, second);
    EXPECT_LT(desktop::readValues(created, secondRead), 0) << "there is no third";
}

TEST_F(TopicMessage, OfAnotherInterfaceIsNoPublication) {
    desktop::BusPointer bus;
    ASSERT_GE(desktop::openBus(bus), 0);
    sd_bus_message* created = nullptr;
    ASSERT_GE(sd_bus_message_new_signal(bus.get(), &created, "/a", "a.b", "Published"), 0);
    const desktop::MessagePointer message(created);
    ASSERT_GE(sd_bus_message_append(created, "s", kEventTopic), 0);
    ASSERT_GE(desktop::appendValues(created, {"event"}), 0);
    ASSERT_GE(sd_bus_message_seal(created, 1, 0), 0);

    EXPECT_FALSE(desktop::readTopicValue(created).has_value());
}

} // namespace
} // namespace velmora::bus_test
