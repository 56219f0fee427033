// What keeps a run of the desktop platform apart from everything else on the machine: a bus of its own, and a
// /dev/shm of its own for the region of fixed name that the service leaves its events in.
#ifndef ZUV_DESKTOP_LAUNCHER_PRIVATE_BUS_H
#define ZUV_DESKTOP_LAUNCHER_PRIVATE_BUS_H

#include "launcher/pipe.h"
#include "launcher/process.h"
#include "launcher/temporary_folder.h"

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// A bus daemon with a socket of its own, any number of them side by side. Its folder (mode 0700), the socket
/// and the files in it (0600) are the user's alone, and the daemon turns other users away besides. Programs
/// reach it with DBUS_SESSION_BUS_ADDRESS=address(). The daemon starts the service and the keeper when they
/// are first asked for, with the environment that the creator of the bus has.
///
/// When the object goes, so do the daemon, what the daemon has started, and the temporary folder. The daemon
/// is killed when the thread that created the object ends, so that not even a killed owner leaves it behind.
class PrivateBus {
public:
    /// Returns when the bus takes connections.
    /// @param programs the folder in which zuv-service and zuv-keeper lie.
    /// @throws std::system_error, std::runtime_error when the bus cannot be started.
    explicit PrivateBus(const std::filesystem::path& programs);

    const std::string& address() const { return m_address; }
    pid_t daemonProcess() const { return m_daemon.leader(); }

private:
    PrivateBus(const std::filesystem::path& programs, Pipe readiness);

    TemporaryFolder m_folder;
    ProcessGroup m_daemon;
    std::string m_address;
};

/// Gives the calling process, and what it starts from now on, an empty /dev/shm. Without the right to mount,
/// the process moves into a user namespace in which it has it, under the user and group it has now. Called
/// while the process has one thread.
/// @throws std::system_error when the machine does not allow it.
void enterPrivateShm();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_PRIVATE_BUS_H
