#ifndef ZUV_TESTS_SUPPORT_PROCESSES_H
#define ZUV_TESTS_SUPPORT_PROCESSES_H

#include <sys/types.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace velmora::bus_test {

/// Polls `condition` until it holds or ten seconds have passed; for what no event announces.
bool eventually(const std::function<bool()>& condition);

/// The processes of a process group, other than those that have ended and wait to be reaped.
std::set<pid_t> processesOfGroup(pid_t group);

/// Whether a process is stopped, as SIGSTOP leaves it.
bool isStopped(pid_t process);

/// As kill(), for one process only: refuses 0 and less, by which kill() means whole groups, or everything
/// there is. What a failed look-up returns must never get there.
/// @return whether the signal was sent.
[[nodiscard]] bool sendSignal(pid_t process, int signal);

/// Whether no process has this number, not even one that has ended and waits to be reaped.
bool isGone(pid_t process);

/// A program started with its stdout and stderr in the hands of the test.
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
    /// Waits for the end. The exit status, or 128 + n for signal n, as a shell has it.
    int wait();

private:
    pid_t m_process = -1;
    int m_output = -1;
};

} // namespace velmora::bus_test

#endif // ZUV_TESTS_SUPPORT_PROCESSES_H
