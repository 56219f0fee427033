#ifndef ZUV_DESKTOP_LAUNCHER_SUPERVISION_H
#define ZUV_DESKTOP_LAUNCHER_SUPERVISION_H

#include "base/file_descriptor.h"

#include <sys/types.h>

namespace velmora::desktop {

/// Stands between the signals that this process gets and a command that it runs. While the object lives,
/// SIGINT, SIGTERM and SIGHUP do not end the process.
class Supervision {
public:
    /// Called while the process has one thread, before the command is started.
    /// @throws std::system_error when signals cannot be received.
    Supervision();

    /// Waits for `command` to end and passes on to it what asks this process to end. A signal from the
    /// terminal is not passed on: the terminal gives it to the command itself.
    /// @return the command's exit status, 128 + n when signal n killed it.
    int untilEndOf(pid_t command) const;

private:
    FileDescriptor m_signals;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_SUPERVISION_H
