#include "support/processes.h"

#include "support/files.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace velmora {
namespace {

struct ProcessState {
    char state = 'X';
    pid_t group = -1;
};

// /proc/PID/stat: "PID (NAME) STATE PARENT GROUP ..."; the name may hold anything.
ProcessState stateOf(const std::filesystem::path& folder) {
    std::ifstream file(folder / "stat");
    std::string text;
    std::getline(file, text);
    ProcessState process;
    const std::size_t end = text.rfind(')');
    pid_t parent = 0;
    if (end != std::string::npos)
        std::sscanf(text.c_str() + end + 1, " %c %d %d", &process.state, &parent, &process.group);
    return process;
}

} // namespace

std::set<pid_t> processesOfGroup(pid_t group) {
    std::set<pid_t> processes;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const ProcessState process = stateOf(entry.path());
        if (process.group == group && process.state != 'Z' && process.state != 'X')
            processes.insert(std::stoi(name));
    }
    return processes;
}

bool isStopped(pid_t process) {
    return stateOf("/proc/" + std::to_string(process)).state == 'T';
}

bool sendSignal(pid_t process, int signal) {
    return process > 0 && kill(process, signal) == 0;
}

bool isGone(pid_t process) {
    return process > 0 && kill(process, 0) < 0 && errno == ESRCH;
}

std::size_t threadCount() {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator("/proc/self/task"), std::filesystem::directory_iterator()));
}

Launched::Launched(const std::vector<std::string>& command) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) < 0)
        throw std::runtime_error("pipe");
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    const int error = posix_spawnp(&m_process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    m_output = ends[0];
    if (error != 0)
        throw std::runtime_error("cannot start " + command[0]);
}

Launched::~Launched() {
    if (sendSignal(m_process, SIGKILL))
        wait();
    close(m_output);
}

std::string Launched::readLine() {
    std::string line;
    char byte = 0;
    while (read(m_output, &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

std::string Launched::readRest() {
    return velmora::readRest(m_output);
}

int Launched::wait() {
    int status = 0;
    waitpid(m_process, &status, 0);
    m_process = -1;
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

ProgramResult runInShell(const std::string& command) {
    Launched shell({"sh", "-c", command});
    std::string output = shell.readRest();
    return {shell.wait(), std::move(output)};
}

bool isInstalled(const std::string& program) {
    return runInShell("command -v " + program).status == 0;
}

} // namespace velmora
