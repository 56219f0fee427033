#include "viewer.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

void view(const std::string& command, const std::string& url) {
    const std::string line = command + " \"$1\"";
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error("cannot run the viewer: " + std::string(std::strerror(errno)));
    if (process == 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        execl("/bin/sh", "sh", "-c", line.c_str(), "sh", url.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("the viewer failed: " + command + " " + url);
}
