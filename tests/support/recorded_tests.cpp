#include "support/recorded_tests.h"

#include "trace/recorder/recording_writer.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {
namespace {

namespace fs = std::filesystem;

/// @return the exit status, as a shell has it; 127 if the program cannot be started.
int execute(const char* program, char* const* arguments) {
    pid_t process = -1;
    if (posix_spawn(&process, program, nullptr, nullptr, arguments, environ) != 0)
        return 127;
    int status = 0;
    waitpid(process, &status, 0);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/// Of the test that is selected, or of the program; short enough for a file.
std::string nameOf(char** arguments) {
    static constexpr std::string_view kFilter = "--gtest_filter=";
    std::string name = fs::path(arguments[0]).filename();
    for (char** argument = arguments + 1; *argument != nullptr; ++argument) {
        if (std::string_view(*argument).starts_with(kFilter))
            name = *argument + kFilter.size();
    }
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return !std::isalnum(c) && c != '.'; }, '_');
    return name.substr(0, 200);
}

void forget(const std::string& recording) {
    for (const char* suffix : {"", ".old", ".html"})
        fs::remove(recording + suffix);
}

void report(const std::string& recording) {
    std::string program = ZUV_PROGRAMS_DIR "/zuv-trace";
    std::string page = recording + ".html";
    std::vector<std::string> words{program, "report", recording, "-o", page};
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const bool isReported = execute(program.c_str(), arguments.data()) == 0;
    std::cout << "recorded in " << recording << (isReported ? ", report in " + page : "") << std::endl;
}

} // namespace

bool isRecorded() {
    return std::getenv(trace::kFileVariable) != nullptr;
}

int runRecorded(char** arguments) {
    const fs::path folder = ZUV_TEST_RECORDINGS;
    fs::create_directories(folder);
    const std::string recording = folder / (nameOf(arguments) + ".jsonl");
    forget(recording);
    setenv(trace::kFileVariable, recording.c_str(), 1);
#ifdef ZUV_TRACE
    setenv("LD_PRELOAD", ZUV_TRACE, 1);
#endif
    const int status = execute("/proc/self/exe", arguments);
    unsetenv("LD_PRELOAD");
    unsetenv(trace::kFileVariable);
    if (status == EXIT_SUCCESS)
        forget(recording);
    else if (fs::exists(recording))
        report(recording);
    return status;
}

} // namespace velmora
