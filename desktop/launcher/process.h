// Starts programs that do not outlive this process.
#ifndef ZUV_DESKTOP_LAUNCHER_PROCESS_H
#define ZUV_DESKTOP_LAUNCHER_PROCESS_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace velmora::desktop {

/// A program and its arguments; the program is searched for in PATH.
using CommandLine = std::vector<std::string>;

/// Starts a program in the caller's process group, with no signal blocked, and returns when it runs. The program is
/// killed when the calling thread ends, in whatever way.
/// @return the process, for the caller to wait for.
/// @throws std::system_error when the program cannot be started.
pid_t startProgram(const CommandLine& command);

/// A program in a process group of its own, together with the processes that it starts in that group. The calling
/// process permanently becomes a child subreaper, that is, the parent of processes whose own parent ends.
class ProcessGroup {
public:
    /// Starts the program as startProgram() does.
    /// @param inherited a file descriptor that the program inherits under the same number.
    explicit ProcessGroup(const CommandLine& command, int inherited = kNothingInherited);

    /// Sends SIGTERM to the program, if it has not ended, gives the whole group two seconds to end, kills the rest of
    /// it, and waits for all.
    ~ProcessGroup();
    ProcessGroup(const ProcessGroup&) = delete;
    ProcessGroup& operator=(const ProcessGroup&) = delete;

    /// Waits for the whole group to end, for that long at most.
    void awaitEnd(std::chrono::steady_clock::duration limit);

    /// The program itself.
    pid_t leader() const { return m_leader; }

private:
    static constexpr int kNothingInherited = -1;

    pid_t m_leader;
    bool m_hasEnded = false;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_LAUNCHER_PROCESS_H
