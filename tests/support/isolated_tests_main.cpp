// main() of tests that change what lives as long as the process, as the library's singletons do. Every test gets a
// process of its own: a fork of this one, in which no test has run yet. Starting the program anew for each takes many
// times as long.
//
// Takes GoogleTest's options; a single test runs in the process itself, for a debugger. Besides:
//   --seconds=N   a test that takes longer has failed; 60 if not given
//   --from-stdin  runs the tests named on standard input, in that order, instead of those that the filter selects
#include "support/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

/// What a fork put out, and how it ended.
struct Outcome {
    int status;
    std::string output;
};

/// Ends a fork. What runs at the end of a process, an emulator translates in each fork anew, and that takes longer than
/// most tests; there is only something to see for a sanitizer and for coverage, which are not emulated.
[[noreturn]] void leave(int status) {
#ifdef ZUV_EMULATED
    std::fflush(nullptr);
    _exit(status);
#else
    std::exit(status);
#endif
}

/// Lets GoogleTest do in a fork what its flags say after `prepare()`, for `seconds` at most.
template <typename Prepare>
Outcome runInFork(unsigned seconds, Prepare prepare) {
    const int output = memfd_create("output", MFD_CLOEXEC);
    std::cout.flush();
    const pid_t child = fork();
    if (child == 0) {
        const int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        alarm(seconds);
        prepare();
        leave(RUN_ALL_TESTS());
    }
    int status = 0;
    waitpid(child, &status, 0);
    lseek(output, 0, SEEK_SET);
    Outcome outcome{status, velmora::readRest(output)};
    close(output);
    return outcome;
}

/// The number that an environment variable holds; GoogleTest's own, of which nothing shall reach the forks.
std::size_t take(const char* variable, std::size_t otherwise) {
    const char* text = std::getenv(variable);
    const std::size_t number = text ? std::stoul(text) : otherwise;
    unsetenv(variable);
    return number;
}

/// The tests that the filter selects, or this shard's part of them. Taken from GoogleTest's list: "Suite." lines, each
/// followed by the indented names of its tests; a '#' begins a comment.
std::vector<std::string> selectedTests(unsigned seconds) {
    const auto shards = take("GTEST_TOTAL_SHARDS", 1);
    const auto shard = take("GTEST_SHARD_INDEX", 0);
    std::istringstream list(runInFork(seconds, [] { testing::GTEST_FLAG(list_tests) = true; }).output);
    std::vector<std::string> tests;
    std::string suite;
    std::size_t found = 0;
    for (std::string line; std::getline(list, line);) {
        const bool isTest = line.starts_with("  ");
        const auto begin = line.find_first_not_of(' ');
        const auto name = line.substr(begin, line.find("  #", begin) - begin);
        if (!isTest)
            suite = name;
        else if (found++ % shards == shard)
            tests.push_back(suite + name);
    }
    return tests;
}

std::vector<std::string> namedTests() {
    std::vector<std::string> tests;
    for (std::string test; std::getline(std::cin, test);)
        tests.push_back(test);
    return tests;
}

std::string describe(int status) {
    if (status == 0)
        return "no such test";
    if (WIFEXITED(status))
        return "exit status " + std::to_string(WEXITSTATUS(status));
    return WTERMSIG(status) == SIGALRM ? "timed out" : "signal " + std::to_string(WTERMSIG(status));
}

/// Says what failed and how, and returns the program's exit status.
int runEachInItsFork(const std::vector<std::string>& tests, unsigned seconds) {
    std::size_t failures = 0;
    for (const auto& test : tests) {
        const auto outcome = runInFork(seconds, [&test] { testing::GTEST_FLAG(filter) = test; });
        if (outcome.status == 0 && outcome.output.find("] 1 test from") != std::string::npos)
            continue;
        ++failures;
        std::cout << outcome.output << "FAILED " << test << ": " << describe(outcome.status) << '\n';
        if (testing::GTEST_FLAG(fail_fast))
            break;
    }
    std::cout << tests.size() << " tests, " << failures << " failed\n";
    return failures == 0 && !tests.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    unsigned seconds = 60;
    bool fromStdin = false;
    for (int index = 1; index < argc; ++index) {
        const std::string_view argument = argv[index];
        if (argument.starts_with("--seconds=")) {
            seconds = static_cast<unsigned>(std::atoi(argument.substr(argument.find('=') + 1).data()));
        } else if (argument == "--from-stdin") {
            fromStdin = true;
        } else {
            std::cerr << argv[0] << ": unknown argument " << argument << '\n';
            return EXIT_FAILURE;
        }
    }
    // A death test of the thread-safe style starts the program anew for itself.
    if (testing::GTEST_FLAG(list_tests) || !testing::GTEST_FLAG(internal_run_death_test).empty())
        return RUN_ALL_TESTS();
    const auto tests = fromStdin ? namedTests() : selectedTests(seconds);
    if (tests.size() == 1 && !fromStdin)
        return RUN_ALL_TESTS();
    return runEachInItsFork(tests, seconds);
}
