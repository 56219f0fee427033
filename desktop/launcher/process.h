// Starting programs such that none of them is left behind.
#ifndef ZUV_DESKTOP_LAUNCHER_PROCESS_H
#define ZUV_DESKTOP_LAUNCHER_PROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace velmora::desktop {

/// A program and its arguments; the program is searched for in PATH.
using CommandLine = std::vector<std::string>;

/// Starts a program in the caller's process group and returns when it runs. No signal is blocked in it. It is
/// killed when the calling thread ends, however that comes about.
/// @return the process, for the caller to wait for.
/// @throws std::system_error when it cannot be started.
pid_t startProgram(const CommandLine& command);

/// A program in a process group of its own, together with whatever it starts and leaves in that group. The
/// calling process becomes the parent of those whose parent ends (a "child subreaper", for good).
class ProcessGroup {
public:
    /// As startProgram(); the program inherits `inherited` under the same number.
    ProcessGroup(const CommandLine& command, int inherited);

    /// Asks the program to terminate, gives the others two seconds to notice, kills who is still there, and
    /// waits for every one of them.
    ~ProcessGroup();
    ProcessGroup(const ProcessGroup&) = delete;
    ProcessGroup& operator=(const ProcessGroup&) = delete;

    /// The program itself.
    pid_t leader() const { return m_leader; }

private:
    pid_t m_leader;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_PROCESS_H
