// Isolates a run of the desktop platform from the rest of the machine: with a bus of its own, and a /dev/shm of its own
// for the service's event region, whose name is fixed.
#ifndef ZUV_DESKTOP_LAUNCHER_PRIVATE_BUS_H
#define ZUV_DESKTOP_LAUNCHER_PRIVATE_BUS_H

#include "launcher/pipe.h"
#include "launcher/process.h"
#include "launcher/temporary_folder.h"

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <system_error>

namespace velmora::desktop {

/// A bus daemon with a socket of its own; any number of them can run at the same time. Only the user has access to its
/// folder (mode 0700) and to the socket and files in it (0600), and the daemon rejects other users as well. Programs
/// use the bus with DBUS_SESSION_BUS_ADDRESS=address(). The daemon starts the service and the keeper on demand, with
/// the environment of the process that created the bus.
///
/// The destructor ends the daemon and the programs that it has started, and removes the temporary folder. The daemon is
/// also killed when the thread that created the object ends, so that it does not survive an owner that is killed.
class PrivateBus {
public:
    /// Returns when the bus accepts connections.
    /// @param programs the folder of zuv-service and zuv-keeper.
    /// @throws std::system_error, std::runtime_error when the bus cannot be started.
    explicit PrivateBus(const std::filesystem::path& programs);

    /// @param service the program that is started as the service.
    PrivateBus(const std::filesystem::path& programs, const std::filesystem::path& service);

    const std::string& address() const { return m_address; }
    pid_t daemonProcess() const { return m_daemon.leader(); }

private:
    PrivateBus(const std::filesystem::path& programs, const std::filesystem::path& service, Pipe readiness);

    TemporaryFolder m_folder;
    ProcessGroup m_daemon;
    std::string m_address;
};

/// Gives the calling process, and the programs that it starts afterwards, an empty /dev/shm. A process that may not
/// mount enters a user namespace in which it may, with the same user and group. Called while the process has one
/// thread.
/// @throws std::system_error when the machine does not allow it. The process may then be in namespaces of its own.
void enterPrivateShm();

/// Tries enterPrivateShm() in a child process, where a failure has no effect on the caller.
/// @return the error, or the value that converts to false when there is none.
std::error_code tryPrivateShm();

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_PRIVATE_BUS_H
