#include "launcher/supervision.h"

#include "base/system_error.h"

#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <optional>

namespace velmora::desktop {
namespace {

constexpr int kKilledBySignal = 128;

int openSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        sigaddset(&signals, signal);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

std::optional<int> exitStatusOf(pid_t command) {
    int status = 0;
    if (waitpid(command, &status, WNOHANG) != command)
        return std::nullopt;
    return WIFSIGNALED(status) ? kKilledBySignal + WTERMSIG(status) : WEXITSTATUS(status);
}

} // namespace

Supervision::Supervision() : m_signals(openSignals()) {
    if (m_signals.get() < 0)
        throw systemError(errno, "signalfd");
}

int Supervision::untilEndOf(pid_t command) const {
    for (;;) {
        signalfd_siginfo signal{};
        if (read(m_signals.get(), &signal, sizeof signal) != sizeof signal)
            continue;
        if (signal.ssi_signo != SIGCHLD && signal.ssi_code != SI_KERNEL)
            kill(command, static_cast<int>(signal.ssi_signo));
        if (const auto status = exitStatusOf(command))
            return *status;
    }
}

} // namespace velmora::desktop
