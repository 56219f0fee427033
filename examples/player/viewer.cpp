#include "viewer.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

void runWith(const std::vector<std::string>& arguments, const std::string& command, const std::string& name) {
    const std::string line = command + " \"$@\"";
    std::vector<const char*> words{"sh", "-c", line.c_str(), "sh"};
    for (const std::string& argument : arguments)
        words.push_back(argument.c_str());
    words.push_back(nullptr);
    const pid_t process = fork();
    if (process < 0)
        throw std::runtime_error("cannot run the " + name + ": " + std::string(std::strerror(errno)));
    if (process == 0) {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        execv("/bin/sh", const_cast<char* const*>(words.data()));
        _exit(127);
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("the " + name + " failed: " + command + " " + arguments.back());
}
