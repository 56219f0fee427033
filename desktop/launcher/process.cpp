#include "launcher/process.h"

#include "base/system_error.h"
#include "launcher/pipe.h"
#include "launcher/recorded_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

namespace velmora::desktop {
namespace {

using namespace std::chrono_literals;

constexpr auto kTimeToEnd = 2s;
constexpr auto kPollInterval = 1ms; // no event reports the end of a process group

enum class Group { callers, own };

std::vector<char*> argumentsOf(const CommandLine& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str())); // execvp does not change them
    arguments.push_back(nullptr);
    return arguments;
}

// Runs in the new process. Makes system calls only, because the parent may have threads.
[[noreturn]] void becomeProgram(char* const* arguments, pid_t parent, Group group, int inherited, int errorPipe) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(1); // the parent has ended before the prctl()
    if (group == Group::own)
        setpgid(0, 0);
    if (inherited >= 0)
        fcntl(inherited, F_SETFD, 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execvp(arguments[0], arguments);
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(errorPipe, &error, sizeof error);
    _exit(1);
}

// The pipe is closed without data when the program starts, and carries the error otherwise.
void awaitProgram(pid_t process, int errorPipe, const std::string& name) {
    int error = 0;
    ssize_t size = 0;
    while ((size = read(errorPipe, &error, sizeof error)) < 0 && errno == EINTR) {
    }
    if (size != sizeof error)
        return;
    waitpid(process, nullptr, 0);
    throw systemError(error, "cannot start " + name);
}

pid_t start(const CommandLine& command, Group group, int inherited) {
    const std::vector<char*> arguments = argumentsOf(command);
    Pipe error = makePipe();
    const pid_t parent = getpid();
    const pid_t process = fork();
    if (process < 0)
        throw systemError(errno, "fork");
    if (process == 0)
        becomeProgram(arguments.data(), parent, group, inherited, error.writeEnd.get());
    error.writeEnd = FileDescriptor();
    awaitProgram(process, error.readEnd.get(), command.front());
    recordStart(process, command);
    return process;
}

bool endsWithin(pid_t group, std::chrono::steady_clock::duration limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const pid_t ended = waitAndRecord(-group, WNOHANG);
        if (ended < 0 && errno == ECHILD)
            return true;
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        if (ended == 0)
            std::this_thread::sleep_for(kPollInterval);
    }
}

} // namespace

pid_t startProgram(const CommandLine& command) {
    constexpr int kNothingInherited = -1;
    return start(command, Group::callers, kNothingInherited);
}

ProcessGroup::ProcessGroup(const CommandLine& command, int inherited) {
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) < 0)
        throw systemError(errno, "prctl");
    m_leader = start(command, Group::own, inherited);
}

ProcessGroup::~ProcessGroup() {
    if (m_hasEnded)
        return;
    kill(m_leader, SIGTERM);
    if (endsWithin(m_leader, kTimeToEnd))
        return;
    kill(-m_leader, SIGKILL);
    while (waitAndRecord(-m_leader, 0) > 0 || errno == EINTR) {
    }
}

void ProcessGroup::awaitEnd(std::chrono::steady_clock::duration limit) {
    m_hasEnded = endsWithin(m_leader, limit);
}

} // namespace velmora::desktop
