#include "desktop/service/service_process.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <cstdio>

namespace velmora::desktop {

namespace {

const std::string kPrograms = ZUV_PROGRAMS_DIR "/";

} // namespace

OwnService::OwnService(CommandLine options) {
    options.insert(options.begin(), kPrograms + "zuv-service");
    m_process = startProgram(options);
}

OwnService::~OwnService() {
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
}

void OwnService::signal(int number) const {
    EXPECT_EQ(kill(m_process, number), 0);
}

int OwnService::exitStatus() {
    const int status = awaitChange();
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int OwnService::awaitChange() {
    int status = 0;
    EXPECT_EQ(waitpid(m_process, &status, WUNTRACED), m_process);
    if (!WIFSTOPPED(status))
        m_process = 0;
    return status;
}

Output runProgram(const std::string& program, const std::string& arguments) {
    FILE* stream = popen((kPrograms + program + " " + arguments + " 2>&1").c_str(), "re");
    Output output;
    std::array<char, 1000> part{};
    while (fgets(part.data(), static_cast<int>(part.size()), stream) != nullptr)
        output.text += part.data();
    const int status = pclose(stream);
    output.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return output;
}

} // namespace velmora::desktop
