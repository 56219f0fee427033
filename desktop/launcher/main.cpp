// zuv-desktop: runs a command with the desktop platform around it.
#include "bus/topic_message.h"
#include "launcher/private_bus.h"
#include "launcher/supervision.h"
#include "log/desktop_log.h"
#include "service/scenario/scenario_files.h"
#include "service/service_options.h"

#include <CLI/CLI.hpp>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

using namespace velmora::desktop;

namespace {

constexpr int kOwnFailure = 125;
constexpr int kCommandNotStarted = 127;

struct RunOptions {
    bool privateShm = false;
    std::string engine;
    std::string scenario;
    CommandLine command;
};

int complain(const std::exception& error, int status) {
    std::fprintf(stderr, "zuv-desktop: %s\n", error.what());
    return status;
}

int runCommand(const CommandLine& command, const Supervision& supervision) {
    pid_t process = 0;
    try {
        process = startProgram(command);
    } catch (const std::system_error& error) {
        return complain(error, kCommandNotStarted);
    }
    return supervision.untilEndOf(process);
}

/// Passes the options in the environment, because the bus starts the service without arguments.
void tellService(const RunOptions& options) {
    if (!options.engine.empty())
        setenv(kEngineVariable, options.engine.c_str(), 1);
    if (options.scenario.empty())
        return;
    const std::filesystem::path file = scenarioFile(options.scenario);
    loadScenario(file); // reports errors now instead of when the bus starts the service
    setenv(kScenarioVariable, file.c_str(), 1);
}

int listScenarios() {
    try {
        std::fputs(scenarioList().c_str(), stdout);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        return complain(error, kOwnFailure);
    }
}

int run(const RunOptions& options) {
    try {
        tellService(options);
        // Read before the mounts are unshared, which changes the path in a chroot.
        const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
        if (options.privateShm)
            enterPrivateShm();
        const Supervision supervision;
        const PrivateBus bus(programs);
        spdlog::debug("bus ready: address={} daemon={}", bus.address(), bus.daemonProcess());
        setenv(kBusAddressVariable, bus.address().c_str(), 1);
        return runCommand(options.command, supervision);
    } catch (const std::exception& error) {
        return complain(error, kOwnFailure);
    }
}

} // namespace

int main(int argc, char** argv) {
    // CLI11 gets the arguments before "--" only: it would interpret a "[...]" or a second "--" in the command.
    char** const end = argv + argc;
    char** const separator = std::find(argv, end, std::string_view("--"));

    CLI::App app("The desktop platform of the media proxy: what stands in for the device.");
    app.require_subcommand(0, 1);
    bool listing = false;
    app.add_flag("--list-scenarios", listing, "Explain the scenarios that come with the desktop platform");
    RunOptions options;
    CLI::App* runApp =
        app.add_subcommand("run", "Runs a command with the desktop platform around it: run -- COMMAND ...");
    runApp->add_flag("--private-shm", options.privateShm, "Give the command and the service a /dev/shm of their own");
    runApp
        ->add_option("--engine", options.engine,
                     "What plays the service's media: gstreamer, or simulated, which plays whatever exists "
                     "without looking at it")
        ->check(CLI::IsMember({kGstreamerEngine, kSimulatedEngine}));
    runApp->add_option("--scenario", options.scenario,
                       "Have the service misbehave on purpose: a scenario's file, or the name of one of "
                       "--list-scenarios");
    runApp->footer("COMMAND, everything behind --, runs on a bus of its own with the media service and the keeper\n"
                   "behind it. They start when they are first asked for and end with the command. SIGINT, SIGTERM\n"
                   "and SIGHUP are passed on to the command.\n"
                   "Exits with the command's status; with 128 + n when signal n killed it, with 127 when it could\n"
                   "not be started, with 125 when the bus could not or the scenario is not valid.");
    CLI11_PARSE(app, static_cast<int>(separator - argv), argv);

    if (listing)
        return listScenarios();
    if (!runApp->parsed())
        return app.exit(CLI::RequiredError::Subcommand(1));
    options.command.assign(std::min(separator + 1, end), end);
    if (options.command.empty())
        return app.exit(CLI::RequiredError("-- COMMAND"));
    useDesktopLogAsDefault();
    return run(options);
}
