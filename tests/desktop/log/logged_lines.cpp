#include "desktop/log/logged_lines.h"

#include "support/files.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace velmora::log_test {
namespace {

[[noreturn]] void logInto(int descriptor, const char* level, const std::function<void()>& log) {
    dup2(descriptor, STDERR_FILENO);
    close(descriptor);
    if (level == nullptr)
        unsetenv("ZUV_LOG_LEVEL");
    else
        setenv("ZUV_LOG_LEVEL", level, 1);
    log();
    _exit(0);
}

} // namespace

std::vector<std::string> loggedLines(const char* level, const std::function<void()>& log) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) < 0)
        throw std::runtime_error("pipe");
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        logInto(ends[1], level, log);
    }
    close(ends[1]);
    std::istringstream text(readRest(ends[0]));
    close(ends[0]);
    int status = 0;
    if (waitpid(child, &status, 0) != child || status != 0)
        throw std::runtime_error("the logging process failed");
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

std::string textOf(const std::string& line) {
    static const std::regex kPrefix(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}\] \[log_test\] )");
    std::smatch match;
    if (!std::regex_search(line, match, kPrefix, std::regex_constants::match_continuous))
        return {};
    return match.suffix();
}

} // namespace velmora::log_test
