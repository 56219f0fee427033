// Stands in for the tests' main(): runs the tests named on standard input, each in a fork of a process in
// which no test has run yet, and stops at the first that fails: its name goes to standard output, "timed out
// " before it if it used up its time.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

constexpr rlim_t kMemory = rlim_t{1} << 30; // a changed loop may be endless

void runHere(const std::string& test, unsigned seconds) {
    const rlimit time{seconds, seconds}, memory{kMemory, kMemory}, core{0, 0};
    setrlimit(RLIMIT_CPU, &time);
    setrlimit(RLIMIT_AS, &memory);
    setrlimit(RLIMIT_CORE, &core);
    alarm(seconds);
    const int nowhere = open("/dev/null", O_RDWR);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(nowhere, descriptor);
    testing::GTEST_FLAG(filter) = test;
    std::exit(RUN_ALL_TESTS());
}

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // A death test starts the program anew for itself.
    if (testing::GTEST_FLAG(list_tests) || !testing::GTEST_FLAG(internal_run_death_test).empty())
        return RUN_ALL_TESTS();
    const auto seconds = static_cast<unsigned>(std::atoi(argv[1]));
    for (std::string test; std::getline(std::cin, test);) {
        const pid_t child = fork();
        if (child == 0)
            runHere(test, seconds);
        int status = 0;
        waitpid(child, &status, 0);
        if (status == 0)
            continue;
        const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        std::cout << (signal == SIGALRM || signal == SIGXCPU || signal == SIGKILL ? "timed out " : "") << test
                  << '\n';
        return 1;
    }
}
