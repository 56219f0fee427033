// Runs a command to its end, on behalf of whoever signals this process, and reports what else ends meanwhile.
#ifndef ZUV_DESKTOP_LAUNCHER_SUPERVISION_H
#define ZUV_DESKTOP_LAUNCHER_SUPERVISION_H

#include "base/file_descriptor.h"

#include <sys/types.h>

namespace velmora::desktop {

/// Passes the signals that this process receives on to a command that it runs. While the object exists, SIGINT, SIGTERM
/// and SIGHUP do not end the process.
class Supervision {
public:
    /// Created while the process has one thread, before the command is started.
    /// @throws std::system_error
    Supervision();

    /// Waits for `command` to end, and meanwhile passes on SIGINT, SIGTERM and SIGHUP. Signals from the terminal are
    /// not passed on, because the terminal sends them to the command as well. Logs how the bus daemon, the service and
    /// the keeper end, and which signal killed the command, unless it is one of those three.
    /// @param daemon the leader of the process group of the daemon, the service and the keeper. Its status is left to
    ///     its owner; other children of this process are waited for here.
    /// @return the command's exit status, or 128 + n when signal n killed it.
    int untilEndOf(pid_t command, pid_t daemon) const;

private:
    FileDescriptor m_signals;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_SUPERVISION_H
