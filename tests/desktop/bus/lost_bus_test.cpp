// A missing bus, a lost bus, and a bus that returns: calls fail at once, and the process works on.
#include "desktop/bus/bus_test.h"
#include "launcher/pipe.h"
#include "launcher/process.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

namespace velmora::bus_test {
namespace {

using Clock = std::chrono::steady_clock;

sockaddr_un socketAddress(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

// Twenty times: a wait in any of them would show, while a pause of a busy machine does not.
void expectAllOperationsFailAtOnce(ZUVModelAccess& access) {
    const auto begin = Clock::now();
    for (int round = 0; round < 20; ++round) {
        Event value = {"left over"};
        EXPECT_LT(access.publish(kEventTopic, {"event"}), 0);
        EXPECT_LT(access.read(kEventTopic, value), 0);
        EXPECT_LT(access.startService(), 0);
        EXPECT_TRUE(value.empty());
    }
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
}

class NoBus : public ::testing::TestWithParam<const char*> {};

TEST_P(NoBus, EveryOperationFails) {
    if (GetParam() == nullptr)
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
    else
        setenv("DBUS_SESSION_BUS_ADDRESS", GetParam(), 1);
    Participant participant;

    EXPECT_LT(participant.access.initialize(), 0);
    EXPECT_LT(participant.access.start(), 0);
    expectAllOperationsFailAtOnce(participant.access);
    EXPECT_EQ(participant.client.stateChanges(), 0);
}

INSTANTIATE_TEST_SUITE_P(Addresses, NoBus,
                         ::testing::Values(nullptr, "", "nonsense", "unix:path=/nonexistent/bus", "unix:"));

TEST(UninitializedConnection, EveryOperationFails) {
    Participant participant;

    EXPECT_LT(participant.access.start(), 0);
    expectAllOperationsFailAtOnce(participant.access);
}

using LostBus = BusTest;

TEST_F(LostBus, IsReportedAndEveryOperationFails) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));

    ASSERT_TRUE(participant.client.awaitStateChanges(1));
    EXPECT_NE(participant.client.thread(), std::this_thread::get_id());
    expectAllOperationsFailAtOnce(participant.access);
}

int killAtARead(sd_bus_message* message, void* daemon, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, desktop::kKeeperInterface, desktop::kReadMethod) > 0) {
        EXPECT_TRUE(sendSignal(*static_cast<const pid_t*>(daemon), SIGKILL));
    }
    return 0;
}

// Takes the keeper's place on the bus, and when it is to answer a read, it kills the daemon instead.
// @return is ready when the bus is gone.
std::future<void> beginDeadlyKeeper(pid_t daemon) {
    desktop::BusPointer bus;
    EXPECT_GE(desktop::openBus(bus), 0);
    EXPECT_GE(sd_bus_request_name(bus.get(), kKeeperName, 0), 0);
    return std::async(std::launch::async, [bus = std::move(bus), daemon]() mutable {
        EXPECT_GE(sd_bus_add_filter(bus.get(), nullptr, killAtARead, &daemon), 0);
        int result = 0;
        while ((result = sd_bus_process(bus.get(), nullptr)) >= 0) {
            if (result == 0)
                sd_bus_wait(bus.get(), UINT64_MAX);
        }
    });
}

// How long a read takes that is under way when the bus is lost.
Clock::duration readUntilTheBusIsLost() {
    std::future<void> keeper; // outlives the bus
    const desktop::PrivateBus bus(ZUV_TEST_PROGRAMS_DIR);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    keeper = beginDeadlyKeeper(bus.daemonProcess());
    Participant participant;
    EXPECT_TRUE(participant.join());
    Event value;
    const auto begin = Clock::now();
    EXPECT_LT(participant.access.read(kEventTopic, value), 0);
    const auto taken = Clock::now() - begin;
    EXPECT_TRUE(participant.client.awaitStateChanges(1));
    return taken;
}

// A read that does not learn of the loss takes its 100 ms, always; on a busy machine, one that does may, too.
TEST(ReadOnALostBus, FailsAtOnceWhenItIsUnderWay) {
    EXPECT_TRUE(eventually([] { return readUntilTheBusIsLost() < std::chrono::milliseconds(100); }));
}

TEST_F(LostBus, DeliversWhatArrivedBefore) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    const pid_t daemon = m_bus.daemonProcess();
    participant.client.whenEvent = [daemon](const Event& event) {
        if (event.at(0) == "first") {
            EXPECT_TRUE(sendSignal(daemon, SIGKILL));
        }
    };
    Participant sender;
    ASSERT_TRUE(sender.join());

    sender.access.publish(kEventTopic, {"first"});

    ASSERT_TRUE(participant.client.awaitStateChanges(1));
    EXPECT_EQ(participant.client.events(), std::vector<Event>{{"first"}});
    EXPECT_EQ(participant.client.stateChanges(), 1);
}

TEST_F(LostBus, LetsTheConnectionEnd) {
    auto participant = std::make_unique<Participant>();
    ASSERT_TRUE(participant->join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));
    ASSERT_TRUE(participant->client.awaitStateChanges(1));

    participant.reset();
}

TEST_F(LostBus, HangingAtTheStartFailsWithinSeconds) {
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));
    Participant participant;

    const auto begin = Clock::now();
    EXPECT_LT(participant.access.initialize(), 0);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));

    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGCONT));
}

/// A bus that goes away, and whose place another takes.
class ReturningBus : public BusTest {
protected:
    // Returns when `participant` knows.
    void goAway(Participant& participant) {
        const int before = participant.client.stateChanges();
        if (m_another)
            m_another.reset();
        else
            ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));
        ASSERT_TRUE(participant.client.awaitStateChanges(before + 1));
    }

    // Returns when the bus takes connections.
    void comeBack() {
        desktop::Pipe readiness = desktop::makePipe();
        const desktop::CommandLine command = {
            "dbus-daemon",   "--config-file=" + (folder() / "bus.conf").string(),          "--nofork", "--nopidfile",
            "--syslog-only", "--print-address=" + std::to_string(readiness.writeEnd.get())};
        m_another.emplace(command, readiness.writeEnd.get());
        readiness.writeEnd = desktop::FileDescriptor();
        char byte = 0;
        ASSERT_EQ(read(readiness.readEnd.get(), &byte, 1), 1) << "the daemon has an address to tell";
    }

    // Takes the bus's place with something that connects and never says a word.
    desktop::FileDescriptor listenInItsPlace() {
        const std::filesystem::path path = folder() / "bus";
        const sockaddr_un address = socketAddress(path);
        unlink(path.c_str());
        desktop::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        EXPECT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(socket.get(), 1), 0);
        return socket;
    }

    std::optional<desktop::ProcessGroup> m_another;
};

TEST_F(ReturningBus, DeliversAgainOnTheSameThreadWithoutACallOfTheClient) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    goAway(participant);
    const auto thread = participant.client.thread();

    comeBack();

    ASSERT_TRUE(participant.client.awaitStateChanges(2));
    BusPeer().publish(kEventTopic, {"back"});
    ASSERT_TRUE(participant.client.awaitEvents(1));
    EXPECT_EQ(participant.client.events(), std::vector<Event>{{"back"}});
    EXPECT_EQ(participant.client.thread(), thread);
}

TEST_F(ReturningBus, IsPublishedOnReadAndHasItsServiceStarted) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    participant.access.publish(kEventTopic, {"before"});
    ASSERT_TRUE(participant.client.awaitEvents(1));
    goAway(participant);
    EXPECT_LT(participant.access.publish(kEventTopic, {"dropped"}), 0);
    comeBack();
    ASSERT_TRUE(participant.client.awaitStateChanges(2));
    Event value = {"left over"};

    EXPECT_EQ(participant.readPatiently(kEventTopic, value), -ENODATA) << "the value has gone with its bus";
    EXPECT_EQ(participant.access.publish(kEventTopic, {"after"}), 0);
    EXPECT_EQ(participant.readPatiently(kEventTopic, value), 0);
    EXPECT_EQ(value, Event{"after"});
    EXPECT_EQ(participant.access.startService(), 0);
    ASSERT_TRUE(participant.client.awaitEvents(3));
    EXPECT_EQ(participant.client.events()[1], Event{"after"});
    EXPECT_EQ(participant.client.events()[2].at(0), "service");
}

TEST_F(ReturningBus, IsFoundEachTime) {
    Participant participant;
    ASSERT_TRUE(participant.join());

    for (int round = 1; round <= 3; ++round) {
        goAway(participant);
        expectAllOperationsFailAtOnce(participant.access);
        comeBack();
        ASSERT_TRUE(participant.client.awaitStateChanges(2 * round));
        EXPECT_EQ(participant.access.publish(kEventTopic, {std::to_string(round)}), 0);
        ASSERT_TRUE(participant.client.awaitEvents(static_cast<std::size_t>(round)));
    }

    EXPECT_EQ(participant.client.events(), (std::vector<Event>{{"1"}, {"2"}, {"3"}}));
}

TEST_F(ReturningBus, IsFoundThoughItWentAwayBeforeTheStart) {
    Participant participant;
    ASSERT_EQ(participant.access.initialize(), 0);
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));

    EXPECT_EQ(participant.access.start(), 0);

    ASSERT_TRUE(participant.client.awaitStateChanges(1));
    comeBack();
    ASSERT_TRUE(participant.client.awaitStateChanges(2));
    participant.access.publish(kEventTopic, {"back"});
    EXPECT_TRUE(participant.client.awaitEvents(1));
}

TEST_F(ReturningBus, ForgetsAStartOfTheServiceThatTheLostOneNeverAnswered) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));
    ASSERT_EQ(participant.access.startService(), 0);
    goAway(participant);
    comeBack();
    ASSERT_TRUE(participant.client.awaitStateChanges(2));

    EXPECT_EQ(participant.access.startService(), 0);

    ASSERT_TRUE(participant.client.awaitEvents(1));
    EXPECT_EQ(participant.client.events()[0].at(0), "service");
}

TEST_F(ReturningBus, LeavesAServiceAloneThatHadTimeToAnswerStill) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_EQ(participant.access.startService(), 0);
    ASSERT_TRUE(participant.client.awaitEvents(1));
    const pid_t service = std::stoi(participant.client.events()[0].at(1));
    ASSERT_TRUE(sendSignal(service, SIGSTOP));
    ASSERT_TRUE(eventually([service] { return isStopped(service); }));
    const auto begin = Clock::now();
    ASSERT_EQ(participant.access.startService(), 0);
    // The answers to what goes before the ping have come back with these.
    for (std::size_t events = 2; events <= 4; ++events) {
        participant.access.publish(kEventTopic, {"marker"});
        ASSERT_TRUE(participant.client.awaitEvents(events));
    }

    goAway(participant);

    // A service that has not answered for 300 ms is rightly killed, also when the bus is lost. On a machine so
    // busy that they are gone by now, this cannot be told from a kill too early, and shows nothing.
    EXPECT_TRUE(isStopped(service) || Clock::now() - begin > std::chrono::milliseconds(300));
    EXPECT_TRUE(sendSignal(service, SIGKILL));
}

TEST_F(ReturningBus, HangingKeepsNobodyWaiting) {
    auto participant = std::make_unique<Participant>();
    ASSERT_TRUE(participant->join());
    const desktop::FileDescriptor place = listenInItsPlace();
    goAway(*participant);
    const desktop::FileDescriptor connection(accept(place.get(), nullptr, nullptr));
    ASSERT_GE(connection.get(), 0);

    expectAllOperationsFailAtOnce(participant->access);
    const auto begin = Clock::now();
    participant.reset();

    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1)) << "two seconds are what an attempt has";
}

TEST_F(ReturningBus, LetsTheConnectionEndWhileItIsAway) {
    auto participant = std::make_unique<Participant>();
    ASSERT_TRUE(participant->join());
    goAway(*participant);

    const auto begin = Clock::now();
    participant.reset();

    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
}

/// A proxy between participants and a bus that can send what no bus sends.
class Relay {
public:
    explicit Relay(std::filesystem::path bus) : m_bus(std::move(bus)) {
        const sockaddr_un address = socketAddress(path());
        EXPECT_EQ(bind(m_place.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(m_place.get(), 1), 0);
        m_thread = std::thread([this] { serve(); });
    }
    ~Relay() {
        shutdown(m_place.get(), SHUT_RDWR);
        m_thread.join();
    }
    Relay(const Relay&) = delete;
    Relay& operator=(const Relay&) = delete;

    std::string address() const { return "unix:path=" + path().string(); }

    /// To the participant that is connected.
    void talkNonsense() { EXPECT_GT(send(m_participant, "this is no message", 18, MSG_NOSIGNAL), 0); }

private:
    std::filesystem::path path() const { return m_bus.string() + "-relay"; }

    void serve() {
        for (;;) {
            const desktop::FileDescriptor participant(accept(m_place.get(), nullptr, nullptr));
            if (participant.get() < 0)
                return;
            const desktop::FileDescriptor bus(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
            const sockaddr_un address = socketAddress(m_bus);
            EXPECT_EQ(connect(bus.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
            m_participant = participant.get();
            relay(participant.get(), bus.get());
        }
    }

    static void relay(int participant, int bus) {
        std::array<pollfd, 2> waited = {{{participant, POLLIN, 0}, {bus, POLLIN, 0}}};
        while (poll(waited.data(), waited.size(), -1) > 0) {
            if ((waited[0].revents != 0 && !pass(participant, bus)) ||
                (waited[1].revents != 0 && !pass(bus, participant)))
                return;
        }
    }

    static bool pass(int from, int to) {
        std::array<char, 4096> bytes;
        const ssize_t size = read(from, bytes.data(), bytes.size());
        return size > 0 && send(to, bytes.data(), static_cast<std::size_t>(size), MSG_NOSIGNAL) == size;
    }

    const std::filesystem::path m_bus; ///< its socket
    const desktop::FileDescriptor m_place{socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::atomic<int> m_participant = -1;
    std::thread m_thread;
};

// A connection that ends so answers no call that is under way.
TEST_F(LostBus, ThatBreaksTheRulesIsFoundAgainAndItsServiceStarted) {
    Relay relay(folder() / "bus");
    setenv("DBUS_SESSION_BUS_ADDRESS", relay.address().c_str(), 1);
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGSTOP));
    ASSERT_EQ(participant.access.startService(), 0);

    relay.talkNonsense();

    ASSERT_TRUE(participant.client.awaitStateChanges(1));
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGCONT));
    ASSERT_TRUE(participant.client.awaitStateChanges(2));
    const std::size_t before = participant.client.events().size();
    EXPECT_EQ(participant.access.startService(), 0);
    participant.access.publish(kEventTopic, {"marker"});
    ASSERT_TRUE(participant.client.awaitEvents(before + 2));
}

class EndWithTheStateChange : public ReturningBus, public ::testing::WithParamInterface<int> {};

TEST_P(EndWithTheStateChange, IsPossibleInsideTheCallback) {
    const ThreadEnd threadEnd = std::make_shared<std::atomic<bool>>(false);
    RecordingClient client;
    auto access = std::make_unique<ZUVModelAccess>(&client);
    client.whenStateChanged = [&] {
        reportEndOfThisThread(threadEnd);
        if (client.stateChanges() == GetParam())
            access.reset();
    };
    ASSERT_EQ(access->initialize(), 0);
    ASSERT_EQ(access->start(), 0);
    ASSERT_TRUE(sendSignal(m_bus.daemonProcess(), SIGKILL));
    ASSERT_TRUE(client.awaitStateChanges(1));

    comeBack();

    ASSERT_TRUE(eventually([&] { return threadEnd->load(); }));
    EXPECT_EQ(client.stateChanges(), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Change, EndWithTheStateChange, ::testing::Values(1, 2),
                         [](const auto& tested) { return tested.param == 1 ? "Lost" : "Restored"; });

} // namespace
} // namespace velmora::bus_test
