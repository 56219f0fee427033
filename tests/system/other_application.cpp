#include "system/other_application.h"

#include "support/awaiting.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace velmora::system_test {

OtherApplication::OtherApplication() {
    std::array<int, 2> ends{};
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    m_socket = desktop::FileDescriptor(ends[0]);
    const desktop::FileDescriptor its(ends[1]);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, its.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, its.get(), STDOUT_FILENO);
    std::string program = ZUV_STEERED_APPLICATION;
    const std::array<char*, 2> arguments = {program.data(), nullptr};
    EXPECT_EQ(posix_spawn(&m_process, arguments[0], &actions, nullptr, arguments.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
}

OtherApplication::~OtherApplication() {
    end();
}

std::string OtherApplication::ask(const std::string& what) {
    const std::string line = what + "\n";
    EXPECT_EQ(send(m_socket.get(), line.data(), line.size(), MSG_NOSIGNAL), static_cast<ssize_t>(line.size()));
    std::string answer = readLine();
    for (; answer.starts_with("! "); answer = readLine())
        m_notifications.push_back(answer.substr(2));
    EXPECT_TRUE(answer.starts_with("= ")) << what << ": " << answer;
    return answer.substr(std::min<std::size_t>(2, answer.size()));
}

std::string OtherApplication::awaitNotification(const std::string& beginning) {
    for (std::size_t i = 0;; ++i) {
        if (i == m_notifications.size()) {
            const std::string line = readLine();
            if (!line.starts_with("! ")) {
                ADD_FAILURE() << "no notification that begins with " << beginning;
                return "";
            }
            m_notifications.push_back(line.substr(2));
        }
        if (m_notifications[i].starts_with(beginning))
            return m_notifications[i].substr(beginning.size());
    }
}

void OtherApplication::end() {
    m_socket = desktop::FileDescriptor();
    if (m_process > 0)
        waitpid(m_process, nullptr, 0);
    m_process = 0;
}

/// Empty when no line comes in kPatience.
std::string OtherApplication::readLine() {
    std::string line;
    char byte = 0;
    pollfd waited = {m_socket.get(), POLLIN, 0};
    const int limit = static_cast<int>(std::chrono::milliseconds(kPatience).count());
    while (poll(&waited, 1, limit) == 1 && read(m_socket.get(), &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

} // namespace velmora::system_test
