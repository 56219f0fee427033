// Processes beside the test: their state, signals to them, and starting them.
#ifndef ZUV_TESTS_SUPPORT_PROCESSES_H
#define ZUV_TESTS_SUPPORT_PROCESSES_H

#include <sys/types.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace velmora {

/// The processes of a process group, other than those that have ended and wait to be reaped.
std::set<pid_t> processesOfGroup(pid_t group);

/// Whether a process is stopped, as SIGSTOP leaves it.
bool isStopped(pid_t process);

/// As kill(), for one process only. Refuses 0 and negative numbers, which a failed look-up returns and which kill()
/// takes for process groups or every process.
/// @return whether the signal was sent.
[[nodiscard]] bool sendSignal(pid_t process, int signal);

/// Whether no process has this number, not even one that has ended and waits to be reaped.
bool isGone(pid_t process);

/// The threads that this process runs at the moment.
std::size_t threadCount();

/// A program whose stdout and stderr the test reads. The destructor kills it.
class Launched {
public:
    explicit Launched(const std::vector<std::string>& command);
    ~Launched();
    Launched(const Launched&) = delete;
    Launched& operator=(const Launched&) = delete;

    pid_t process() const { return m_process; }

    /// The next line of its output, without the line end; empty at its end.
    std::string readLine();
    /// The output that is left, up to its end.
    std::string readRest();
    /// Waits for its end. @return the exit status, or 128 + n for signal n, as a shell has it.
    int wait();

private:
    pid_t m_process = -1;
    int m_output = -1;
};

/// What came of a program.
struct ProgramResult {
    int status = -1;    ///< as Launched::wait() has it
    std::string output; ///< stdout and stderr together
};

/// Runs a command of the shell to its end.
ProgramResult runInShell(const std::string& command);

/// Whether the shell finds a program of this name.
bool isInstalled(const std::string& program);

} // namespace velmora

#endif // ZUV_TESTS_SUPPORT_PROCESSES_H
