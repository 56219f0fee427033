// zuv-desktop run: the command's exit status, signals and environment, and that nothing is left afterwards.
#include "desktop/bus/bus_test.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace velmora::bus_test {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLauncher = ZUV_TEST_PROGRAMS_DIR "/zuv-desktop";

std::vector<std::string> shell(const std::string& script) {
    return {kLauncher, "run", "--", "sh", "-c", script};
}

// The folder of a bus whose address is somewhere in a line.
fs::path folderIn(const std::string& line) {
    return folderOf(line.substr(line.find("unix:path=")));
}

// A command that uses the bus, the keeper and the service, and what it printed about them.
struct RunningPlatform {
    RunningPlatform() {
        folder = folderIn(launcher.readLine());
        for (pid_t* process : {&daemon, &keeper, &service})
            *process = readProcess();
    }

    // Any other line is an error message.
    pid_t readProcess() {
        const std::string line = launcher.readLine();
        EXPECT_TRUE(!line.empty() && line.find_first_not_of("0123456789") == std::string::npos) << line;
        return std::atoi(line.c_str());
    }

    // The next line with that word; the command logs what it makes of the loss of its bus, too.
    std::string lineWith(const std::string& word) {
        std::string line = launcher.readLine();
        while (!line.empty() && line.find(word) == std::string::npos)
            line = launcher.readLine();
        return line;
    }

    Launched launcher{shell("echo $DBUS_SESSION_BUS_ADDRESS; exec " ZUV_TEST_PLATFORM_USER)};
    fs::path folder;
    pid_t daemon = 0;
    pid_t keeper = 0;
    pid_t service = 0;
};

TEST(Launcher, PassesTheExitStatusOn) {
    EXPECT_EQ(Launched(shell("exit 0")).wait(), 0);
    EXPECT_EQ(Launched(shell("exit 37")).wait(), 37);
}

TEST(Launcher, TellsTheSignalThatKilledTheCommand) {
    EXPECT_EQ(Launched(shell("kill -KILL $$")).wait(), 128 + SIGKILL);
}

TEST(Launcher, GivesTheCommandItsArgumentsUnchanged) {
    Launched launcher({kLauncher, "run", "--", "printf", "<%s>", "a b", "--", "", "[x,y]", "--help", "$HOME"});

    EXPECT_EQ(launcher.readRest(), "<a b><--><><[x,y]><--help><$HOME>");
    EXPECT_EQ(launcher.wait(), 0);
}

TEST(Launcher, RefusesAnUnknownCommandWithAClearError) {
    Launched launcher({kLauncher, "run", "--", "no-such-command"});

    EXPECT_EQ(launcher.readRest(), "zuv-desktop: cannot start no-such-command: No such file or directory\n");
    EXPECT_EQ(launcher.wait(), 127);
}

TEST(Launcher, TellsWhatCannotBeExecutedFromWhatIsNotFound) {
    Launched launcher({kLauncher, "run", "--", "/etc/passwd"});

    EXPECT_EQ(launcher.readRest(), "zuv-desktop: cannot start /etc/passwd: Permission denied\n");
    EXPECT_EQ(launcher.wait(), 126);
}

TEST(Launcher, EndsWithAStatusOfItsOwnWhenItsOptionsAreWrong) {
    for (const std::vector<std::string>& options :
         std::vector<std::vector<std::string>>{{}, {"--engin"}, {"run", "--engine", "vlc", "--", "true"}}) {
        std::vector<std::string> command = options;
        command.insert(command.begin(), kLauncher);
        EXPECT_EQ(Launched(command).wait(), 2);
    }
}

TEST(Launcher, RefusesToRunNothing) {
    Launched launcher({kLauncher, "run"});

    EXPECT_NE(launcher.readRest().find("COMMAND is required"), std::string::npos);
    EXPECT_EQ(launcher.wait(), 2);
}

TEST(Launcher, ExplainsItself) {
    Launched launcher({kLauncher, "run", "--help"});

    EXPECT_NE(launcher.readRest().find("--private-shm"), std::string::npos);
    EXPECT_EQ(launcher.wait(), 0);
}

TEST(Launcher, GivesTheCommandABusOfItsOwn) {
    Launched launcher(shell("echo $DBUS_SESSION_BUS_ADDRESS; exec sleep 60"));

    const fs::path folder = folderIn(launcher.readLine());

    EXPECT_TRUE(fs::is_socket(folder / "bus"));
    ASSERT_TRUE(sendSignal(launcher.process(), SIGTERM));
    launcher.wait();
}

/// A file in the machine's /dev/shm, and a command that succeeds if it finds it there.
class ShmOfRun : public ::testing::Test {
protected:
    ShmOfRun() { std::ofstream(m_file).close(); }
    ~ShmOfRun() override { fs::remove(m_file); }

    enum class Machine { allowsMounts, refusesMounts };

    std::vector<std::string> search(const std::vector<std::string>& options, Machine machine = Machine::allowsMounts) {
        std::vector<std::string> command = {kLauncher, "run"};
        if (machine == Machine::refusesMounts)
            command.insert(command.begin(), ZUV_TEST_WITHOUT_MOUNT);
        command.insert(command.end(), options.begin(), options.end());
        command.insert(command.end(), {"--", "test", "-e", m_file});
        return command;
    }

    const std::string m_file = "/dev/shm/zuv_launcher_test_" + std::to_string(getpid());
};

TEST_F(ShmOfRun, IsItsOwn) {
    EXPECT_EQ(Launched(search({})).wait(), 1);
    EXPECT_EQ(Launched(search({"--private-shm"})).wait(), 1);
}

TEST_F(ShmOfRun, IsTheMachinesWhenAsked) {
    EXPECT_EQ(Launched(search({"--shared-shm"})).wait(), 0);
}

TEST_F(ShmOfRun, IsTheMachinesWhereItCannotBeItsOwnWhichALineSays) {
    Launched launcher(search({}, Machine::refusesMounts));

    const std::string line = launcher.readLine();

    EXPECT_NE(line.find("no private /dev/shm (Operation not permitted): shared with other runs"), std::string::npos)
        << line;
    EXPECT_EQ(launcher.readRest(), "");
    EXPECT_EQ(launcher.wait(), 0);
}

TEST_F(ShmOfRun, IsItsOwnOrNoneWhenThatIsRequired) {
    Launched launcher(search({"--private-shm"}, Machine::refusesMounts));

    EXPECT_EQ(launcher.readRest(), "zuv-desktop: cannot have a /dev/shm of its own: Operation not permitted\n");
    EXPECT_EQ(launcher.wait(), 125);
}

TEST_F(ShmOfRun, IsNotBoth) {
    Launched launcher(search({"--private-shm", "--shared-shm"}));

    EXPECT_NE(launcher.readRest().find("--private-shm and --shared-shm exclude each other"), std::string::npos);
    EXPECT_EQ(launcher.wait(), 2);
}

TEST(Launcher, PassesTheOpenTimeoutOnToTheService) {
    Launched launcher({kLauncher, "run", "--open-timeout", "0.25", "--", "printenv", "ZUV_SERVICE_OPEN_TIMEOUT"});

    EXPECT_EQ(std::stod(launcher.readLine()), 0.25);
    EXPECT_EQ(launcher.wait(), 0);
}

class ForwardedSignal : public ::testing::TestWithParam<int> {};

TEST_P(ForwardedSignal, ReachesTheCommand) {
    Launched launcher(shell("trap 'exit 11' INT; trap 'exit 12' TERM; trap 'exit 13' HUP; echo ready; "
                            "while :; do sleep 0.01; done"));
    ASSERT_EQ(launcher.readLine(), "ready");

    ASSERT_TRUE(sendSignal(launcher.process(), GetParam()));

    const int expected = GetParam() == SIGINT ? 11 : GetParam() == SIGTERM ? 12 : 13;
    EXPECT_EQ(launcher.wait(), expected);
}

INSTANTIATE_TEST_SUITE_P(Signals, ForwardedSignal, ::testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST(Launcher, EndsEverythingItStarted) {
    RunningPlatform platform;

    ASSERT_TRUE(sendSignal(platform.launcher.process(), SIGTERM));
    EXPECT_EQ(platform.launcher.wait(), 128 + SIGTERM);

    EXPECT_TRUE(isGone(platform.daemon));
    EXPECT_TRUE(isGone(platform.keeper));
    EXPECT_TRUE(isGone(platform.service));
    EXPECT_FALSE(fs::exists(platform.folder));
}

TEST(Launcher, NamesTheProcessThatEndedAndWhatFollows) {
    RunningPlatform platform;

    ASSERT_TRUE(sendSignal(platform.service, SIGUSR1)); // a sanitizer handles SIGSEGV itself
    EXPECT_NE(platform.launcher.readLine().find("zuv-service (process " + std::to_string(platform.service) +
                                                ") was killed by SIGUSR1: its objects are lost, and the next creation"),
              std::string::npos);
    ASSERT_TRUE(sendSignal(platform.keeper, SIGKILL));
    EXPECT_NE(platform.launcher.readLine().find("zuv-keeper (process " + std::to_string(platform.keeper) +
                                                ") was killed by SIGKILL: the values that it kept are lost"),
              std::string::npos);
    ASSERT_TRUE(sendSignal(platform.daemon, SIGKILL));
    EXPECT_NE(platform.lineWith("dbus-daemon")
                  .find("dbus-daemon (process " + std::to_string(platform.daemon) +
                        ") was killed by SIGKILL: the service and the keeper end with it"),
              std::string::npos);
    EXPECT_TRUE(isGone(platform.service)) << "it has been waited for";
    ASSERT_TRUE(sendSignal(platform.launcher.process(), SIGTERM));
    EXPECT_EQ(platform.launcher.wait(), 128 + SIGTERM);
    EXPECT_FALSE(fs::exists(platform.folder));
}

TEST(Launcher, NamesTheSignalThatKilledTheCommandUnlessItPassedItOn) {
    Launched launcher(shell("kill -KILL $$"));
    EXPECT_NE(launcher.readRest().find(", the command) was killed by SIGKILL\n"), std::string::npos);
    Launched other(shell("kill -TERM $$"));
    EXPECT_EQ(other.readRest(), "");
}

TEST(Launcher, EndsTheBusWhenTheCommandCannotBeStarted) {
    setenv("ZUV_LOG_LEVEL", "progress", 1);
    Launched launcher({kLauncher, "run", "--", "no-such-command"});
    const std::string line = launcher.readLine();
    ASSERT_NE(line.find("bus ready: address="), std::string::npos) << line;
    const pid_t daemon = std::stoi(line.substr(line.find("daemon=") + 7));

    EXPECT_EQ(launcher.wait(), 127);

    EXPECT_TRUE(isGone(daemon));
    EXPECT_FALSE(fs::exists(folderIn(line)));
}

// The daemon ends even then, and the others end with it.
TEST(Launcher, KilledTakesTheDaemonAndTheOthersAlong) {
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    RunningPlatform platform;

    ASSERT_TRUE(sendSignal(platform.launcher.process(), SIGKILL));
    EXPECT_EQ(platform.launcher.wait(), 128 + SIGKILL);

    for (const pid_t process : {platform.daemon, platform.keeper, platform.service})
        EXPECT_TRUE(eventually([process] { return waitpid(process, nullptr, WNOHANG) == process; })) << process;
    EXPECT_EQ(Launched(shell("exit 0")).wait(), 0);

    EXPECT_FALSE(fs::exists(platform.folder)) << "the next run removes it";
}

/// A folder in /tmp whose name says that a process has it.
class FolderInTmp {
public:
    explicit FolderInTmp(const std::string& owner, mode_t mode = 0700)
        : m_path("/tmp/zuv-desktop-" + owner + "-" + std::to_string(100'000 + getpid() % 900'000)) {
        fs::remove_all(m_path);
        EXPECT_EQ(mkdir(m_path.c_str(), mode), 0);
    }
    ~FolderInTmp() { fs::remove_all(m_path); }
    FolderInTmp(const FolderInTmp&) = delete;
    FolderInTmp& operator=(const FolderInTmp&) = delete;

    const std::string& path() const { return m_path; }
    bool exists() const { return fs::exists(m_path); }

private:
    std::string m_path;
};

constexpr const char* kNoProcess = "2147483646"; // more than any machine has

TEST(AbandonedFolders, AreRemovedAndNothingElse) {
    const FolderInTmp abandoned(kNoProcess);
    const FolderInTmp ofAProcess(std::to_string(getpid()));
    const FolderInTmp ofNobody("x" + std::string(kNoProcess));
    const FolderInTmp withSign("+" + std::string(kNoProcess));

    desktop::removeAbandonedFolders();

    EXPECT_FALSE(abandoned.exists());
    EXPECT_TRUE(ofAProcess.exists());
    EXPECT_TRUE(ofNobody.exists());
    EXPECT_TRUE(withSign.exists());
}

// A folder gets the mode of an abandoned one last: tests that run at the same time remove such folders.
TEST(AbandonedFolders, AreNeitherOpenToOthersNorLocked) {
    const FolderInTmp folder(kNoProcess, 0755);
    desktop::removeAbandonedFolders();
    EXPECT_TRUE(folder.exists());

    const desktop::FileDescriptor user(open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(flock(user.get(), LOCK_SH), 0);
    fs::permissions(folder.path(), fs::perms::owner_all);
    desktop::removeAbandonedFolders();
    EXPECT_TRUE(folder.exists());
}

TEST(AbandonedFolders, AreNotThoseOfOthers) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs root, to give a folder away";
    const FolderInTmp folder(kNoProcess, 0755);
    ASSERT_EQ(chown(folder.path().c_str(), 65534, 65534), 0);
    fs::permissions(folder.path(), fs::perms::owner_all);
    desktop::removeAbandonedFolders();
    EXPECT_TRUE(folder.exists());
}

TEST(AbandonedFolders, AreFolders) {
    const FolderInTmp linked("target");
    const std::string link = "/tmp/zuv-desktop-" + std::string(kNoProcess) + "-abcdef";
    fs::remove(link);
    fs::create_directory_symlink(linked.path(), link);
    desktop::removeAbandonedFolders();
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(linked.exists());
    fs::remove(link);
}

} // namespace
} // namespace velmora::bus_test
