#ifndef ZUV_TESTS_DESKTOP_SERVICE_SERVICE_PROCESS_H
#define ZUV_TESTS_DESKTOP_SERVICE_SERVICE_PROCESS_H

#include "launcher/process.h"

#include <string>

namespace velmora::desktop {

/// A service that the test started itself, to see how it ends.
class OwnService {
public:
    explicit OwnService(CommandLine options = {});
    ~OwnService();
    OwnService(const OwnService&) = delete;
    OwnService& operator=(const OwnService&) = delete;

    void signal(int number) const;

    /// Waits for its end. @return the exit status, -1 when a signal killed it.
    int exitStatus();

    /// Waits until it is stopped or has ended. @return as waitpid() has it.
    int awaitChange();

private:
    pid_t m_process;
};

struct Output {
    std::string text; ///< both streams
    int status;
};

/// Runs a program of the platform's to its end.
/// @param arguments as a shell takes them.
Output runProgram(const std::string& program, const std::string& arguments);

} // namespace velmora::desktop

#endif // ZUV_TESTS_DESKTOP_SERVICE_SERVICE_PROCESS_H
