// The private bus and the private /dev/shm leave nothing behind.
#include "desktop/bus/bus_test.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <optional>

namespace velmora::bus_test {
namespace {

namespace fs = std::filesystem;

TEST(PrivateBus, HasAFolderThatNobodyElseEnters) {
    const desktop::PrivateBus bus(ZUV_TEST_PROGRAMS_DIR);

    EXPECT_EQ(fs::status(folderOf(bus.address())).permissions(), fs::perms::owner_all);
}

TEST(PrivateBus, HasASocketAndFilesThatNobodyElseOpens) {
    const desktop::PrivateBus bus(ZUV_TEST_PROGRAMS_DIR);

    int seen = 0;
    for (const auto& entry : fs::directory_iterator(folderOf(bus.address()))) {
        if (entry.is_symlink())
            continue;
        ++seen;
        EXPECT_EQ(entry.status().permissions(), fs::perms::owner_read | fs::perms::owner_write) << entry.path();
    }
    EXPECT_EQ(seen, 4) << "the socket, the configuration and two service files";
}

TEST(PrivateBus, LivesBesideAnother) {
    const desktop::PrivateBus one(ZUV_TEST_PROGRAMS_DIR);
    const desktop::PrivateBus other(ZUV_TEST_PROGRAMS_DIR);

    EXPECT_NE(one.address(), other.address());
}

TEST(PrivateBus, EndsWithEverythingItStarted) {
    auto bus = std::make_unique<desktop::PrivateBus>(ZUV_TEST_PROGRAMS_DIR);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
    Participant participant;
    ASSERT_TRUE(participant.join());
    ASSERT_EQ(participant.access.startService(), 0);
    ASSERT_TRUE(participant.client.awaitEvents(1));
    const fs::path folder = folderOf(bus->address());
    const auto processes = processesOfGroup(bus->daemonProcess());
    ASSERT_GE(processes.size(), 3u) << "the daemon, the keeper and the service";

    bus.reset();

    for (const pid_t process : processes)
        EXPECT_TRUE(isGone(process)) << process;
    EXPECT_FALSE(fs::exists(folder));
}

TEST(PrivateBus, EndsEvenWhatHangs) {
    auto bus = std::make_unique<desktop::PrivateBus>(ZUV_TEST_PROGRAMS_DIR);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus->address().c_str(), 1);
    Participant participant;
    ASSERT_TRUE(participant.join());
    const pid_t keeper = BusPeer().processOf(kKeeperName);
    const pid_t daemon = bus->daemonProcess();
    ASSERT_TRUE(sendSignal(keeper, SIGSTOP));
    ASSERT_TRUE(sendSignal(daemon, SIGSTOP));

    bus.reset();

    EXPECT_TRUE(isGone(keeper));
    EXPECT_TRUE(isGone(daemon));
}

TEST(PrivateBus, DoesNotTouchOtherChildren) {
    Launched other({"sleep", "60"});
    desktop::PrivateBus{ZUV_TEST_PROGRAMS_DIR};

    EXPECT_EQ(waitpid(other.process(), nullptr, WNOHANG), 0) << "it runs, and is still ours to wait for";
}

TEST(PrivateBus, WithoutADaemonSaysSo) {
    setenv("PATH", "/nonexistent", 1);

    EXPECT_THROW(desktop::PrivateBus(ZUV_TEST_PROGRAMS_DIR), std::system_error);
}

void becomeNobody() {
    constexpr uid_t kNobody = 65534;
    // A process that has changed its user may use its own files in /proc again once it is "dumpable".
    if (geteuid() == 0 && (setgid(kNobody) < 0 || setuid(kNobody) < 0 || prctl(PR_SET_DUMPABLE, 1) < 0))
        _exit(1);
}

bool takesACommand() {
    Participant participant;
    const bool connected = participant.access.initialize() == 0;
    return participant.access.publish(kCommandTopic, {"create"}) == 0 && connected;
}

enum class Answer { taken, refused };

// How the bus of DBUS_SESSION_BUS_ADDRESS answers a process that has called `become`; in a process of its own, since
// that cannot be undone.
std::optional<Answer> answerTo(void (*become)()) {
    constexpr int kTaken = 10;
    constexpr int kRefused = 11;
    const pid_t child = fork();
    if (child == 0) {
        become();
        _exit(takesACommand() ? kTaken : kRefused);
    }
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return std::nullopt;
    if (WEXITSTATUS(status) == kTaken)
        return Answer::taken;
    return WEXITSTATUS(status) == kRefused ? std::optional(Answer::refused) : std::nullopt;
}

class OtherUser : public BusTest {
protected:
    void SetUp() override {
        if (geteuid() != 0)
            // Only root can become the other user whom the bus is to refuse.
            GTEST_SKIP() << "needs root, to become another user";
    }
};

TEST_F(OtherUser, DoesNotReachTheSocket) {
    EXPECT_EQ(answerTo([] {}), Answer::taken);
    EXPECT_EQ(answerTo(becomeNobody), Answer::refused);
}

TEST_F(OtherUser, IsTurnedAwayByTheDaemonAsWell) {
    fs::permissions(folder(), fs::perms::all);
    fs::permissions(folder() / "bus", fs::perms::all);

    EXPECT_EQ(answerTo(becomeNobody), Answer::refused);
    EXPECT_EQ(answerTo([] {}), Answer::taken);
}

bool findsPrivateShm(const std::string& name, void (*enter)()) {
    try {
        enter();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return false;
    }
    return fs::is_empty("/dev/shm") && shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600) >= 0;
}

// Whether `enter` gives a process an empty /dev/shm in which it can create `name`; in a process of its own, since that
// cannot be undone.
bool hasPrivateShm(const std::string& name, void (*enter)()) {
    const pid_t child = fork();
    if (child == 0)
        _exit(findsPrivateShm(name, enter) ? 0 : 1);
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

std::string shmName() {
    return "/zuv_private_shm_test_" + std::to_string(getpid());
}

TEST(PrivateShm, IsEmptyAndInvisibleOutside) {
    EXPECT_TRUE(hasPrivateShm(shmName(), desktop::enterPrivateShm));

    EXPECT_LT(shm_open(shmName().c_str(), O_RDWR, 0), 0);
}

TEST(PrivateShm, IsThereForUsersWithoutPrivileges) {
    EXPECT_TRUE(hasPrivateShm(shmName(), [] {
        becomeNobody();
        desktop::enterPrivateShm();
    }));
}

} // namespace
} // namespace velmora::bus_test
