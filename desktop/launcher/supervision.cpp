#include "launcher/supervision.h"

#include "base/command_line.h"
#include "base/system_error.h"
#include "launcher/recorded_process.h"
#include "log/desktop_log.h"

#include <fmt/format.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <optional>
#include <string>

namespace velmora::desktop {
namespace {

int openSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

/// The name of the program that a process runs, even if it has ended but has not been waited for.
std::string nameOf(pid_t process) {
    std::string name;
    std::getline(std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
    return name;
}

std::string endOf(const siginfo_t& child) {
    if (child.si_code == CLD_EXITED)
        return fmt::format("ended with exit status {}", child.si_status);
    const char* const name = sigabbrev_np(child.si_status);
    return fmt::format("was killed by {}",
                       name == nullptr ? std::to_string(child.si_status) : "SIG" + std::string(name));
}

const char* consequenceOf(const std::string& program) {
    if (program == "dbus-daemon")
        return "the service and the keeper end with it, and the command cannot reach them any more";
    if (program == "zuv-keeper")
        return "the values that it kept are lost, and the bus starts it again when it is needed";
    return "its objects are lost, and the next creation starts it again"; // whatever program is the service
}

/// A child that has ended and has not been waited for.
std::optional<siginfo_t> endedChild(idtype_t kind, pid_t process) {
    siginfo_t child{};
    if (waitid(kind, static_cast<id_t>(process), &child, WEXITED | WNOHANG | WNOWAIT) != 0 || child.si_pid == 0)
        return std::nullopt;
    return child;
}

bool isForwarded(int signal) {
    return signal == SIGINT || signal == SIGTERM || signal == SIGHUP;
}

std::optional<int> exitStatusOf(pid_t command) {
    const auto child = endedChild(P_PID, command);
    if (!child)
        return std::nullopt;
    const bool isKilled = child->si_code != CLD_EXITED;
    if (isKilled && !isForwarded(child->si_status))
        logError("{} (process {}, the command) {}", nameOf(command), command, endOf(*child));
    waitAndRecord(command, 0);
    return isKilled ? exit_status::kKilledBySignal + child->si_status : child->si_status;
}

/// Logs the end of a process of the platform's.
void report(const siginfo_t& child) {
    const std::string program = nameOf(child.si_pid);
    logError("{} (process {}) {}: {}", program, child.si_pid, endOf(child), consequenceOf(program));
}

/// Waits for the children that have ended, except for the command, whose end is due to be noticed, and the daemon, with
/// which the others end. @return whether the daemon has ended.
bool clearEndedChildren(pid_t command, pid_t daemon) {
    for (auto child = endedChild(P_ALL, 0); child && child->si_pid != command; child = endedChild(P_ALL, 0)) {
        if (getpgid(child->si_pid) == daemon)
            report(*child);
        if (child->si_pid == daemon)
            return true;
        waitAndRecord(child->si_pid, 0);
    }
    return false;
}

} // namespace

Supervision::Supervision() : m_signals(openSignals()) {
    if (m_signals.get() < 0)
        throw systemError(errno, "signalfd");
}

int Supervision::untilEndOf(pid_t command, pid_t daemon) const {
    bool isDaemonGone = false;
    for (;;) {
        signalfd_siginfo signal{};
        if (read(m_signals.get(), &signal, sizeof signal) != sizeof signal)
            continue;
        if (signal.ssi_signo != SIGCHLD && signal.ssi_code != SI_KERNEL)
            kill(command, static_cast<int>(signal.ssi_signo));
        if (const auto status = exitStatusOf(command))
            return *status;
        isDaemonGone = isDaemonGone || clearEndedChildren(command, daemon);
    }
}

} // namespace velmora::desktop
