#include "launcher/private_bus.h"

#include "base/system_error.h"
#include "bus/topic_message.h"

#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>

namespace velmora::desktop {
namespace {

namespace fs = std::filesystem;

constexpr int kReadyLimitMilliseconds = 5000;

// - Users: without a rule that admits others, the daemon only accepts connections of its own user.
// - Policies: without receive_sender nothing arrives, not even the answer to a connection's first call.
// - service_start_timeout (ms): the daemon gives up on a program that does not start before its caller gives up.
// - max_outgoing_bytes limits the queue for a reader that hangs: beyond it, publications are dropped for that reader
//   only. The daemon compares the queue before it adds a message, so a reader that keeps up receives messages of any
//   length. 16 MiB let a burst of a dozen strings of 1 MiB, or tens of thousands of events, wait for a slow reader.
std::string configuration(const fs::path& folder) {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <auth>EXTERNAL</auth>
  <listen>unix:path=)" +
           (folder / "bus").string() + R"(</listen>
  <servicedir>)" +
           folder.string() + R"(</servicedir>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
  <limit name="service_start_timeout">2000</limit>
  <limit name="max_outgoing_bytes">16777216</limit>
</busconfig>
)";
}

void writeFile(const fs::path& path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    if (!file)
        throw systemError(errno, path.string());
}

void keepToOwner(const fs::path& path) {
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
}

void writePrivateFile(const fs::path& path, const std::string& text) {
    writeFile(path, text);
    keepToOwner(path);
}

// The daemon splits the command line of a service file like a shell. It names a link in the folder, because the path of
// the program itself might need quoting.
void makeActivatable(const fs::path& folder, const std::string& name, const fs::path& program) {
    const fs::path link = folder / program.filename();
    fs::create_symlink(fs::absolute(program), link);
    writePrivateFile(folder / (name + ".service"), "[D-BUS Service]\nName=" + name + "\nExec=" + link.string() + "\n");
}

CommandLine daemonCommand(const fs::path& folder, const fs::path& service, const fs::path& keeper,
                          const FileDescriptor& readiness) {
    const fs::path configurationFile = folder / "bus.conf";
    writePrivateFile(configurationFile, configuration(folder));
    makeActivatable(folder, kServiceName, service);
    makeActivatable(folder, kKeeperName, keeper);
    return {
        "dbus-daemon", "--config-file=" + configurationFile.string(), "--nofork", "--nopidfile",
        // Keeps its own messages ("Activating service ...") off stderr, which it shares with the programs it starts.
        "--syslog-only", "--print-address=" + std::to_string(readiness.get())};
}

// The daemon writes its address as a line once it listens.
std::string readAddress(const FileDescriptor& readiness) {
    std::string address;
    while (address.empty() || address.back() != '\n') {
        pollfd waited = {readiness.get(), POLLIN, 0};
        const int ready = poll(&waited, 1, kReadyLimitMilliseconds);
        if (ready < 0 && errno == EINTR)
            continue;
        char byte = 0;
        if (ready <= 0 || read(readiness.get(), &byte, 1) != 1)
            throw std::runtime_error("dbus-daemon did not start");
        address += byte;
    }
    address.pop_back();
    return address;
}

// Maps the caller's user and group to themselves, because D-Bus authenticates its peers by them.
void enterUserNamespace() {
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) < 0)
        throw systemError(errno, "cannot have a /dev/shm of its own");
    writeFile("/proc/self/uid_map", user + " " + user + " 1\n");
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/gid_map", group + " " + group + " 1\n");
}

// The errno value, which all fit an exit status, or 0.
int errorOf(void (*attempt)()) noexcept {
    try {
        attempt();
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value();
    }
}

} // namespace

PrivateBus::PrivateBus(const fs::path& programs) : PrivateBus(programs, programs / "zuv-service") {}

PrivateBus::PrivateBus(const fs::path& programs, const fs::path& service) : PrivateBus(programs, service, makePipe()) {}

PrivateBus::PrivateBus(const fs::path& programs, const fs::path& service, Pipe readiness)
    : m_daemon(daemonCommand(m_folder.path(), service, programs / "zuv-keeper", readiness.writeEnd),
               readiness.writeEnd.get()) {
    readiness.writeEnd = FileDescriptor();
    m_address = readAddress(readiness.readEnd);
    keepToOwner(m_folder.path() / "bus"); // the daemon creates it open to everybody and relies on authentication
}

void enterPrivateShm() {
    if (unshare(CLONE_NEWNS) < 0)
        enterUserNamespace();
    // Mounts from here on are invisible outside; those of the machine still appear here.
    if (mount("none", "/", nullptr, MS_REC | MS_SLAVE, nullptr) < 0 ||
        mount("tmpfs", "/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777") < 0)
        throw systemError(errno, "cannot have a /dev/shm of its own");
}

std::error_code tryPrivateShm() {
    const pid_t child = fork();
    if (child < 0)
        return {errno, std::generic_category()};
    if (child == 0)
        _exit(errorOf(enterPrivateShm));
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {WIFEXITED(status) ? WEXITSTATUS(status) : ECHILD, std::generic_category()};
}

} // namespace velmora::desktop
