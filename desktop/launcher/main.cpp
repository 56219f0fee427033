// zuv-desktop: runs a command with the desktop platform around it.
#include "base/command_line.h"
#include "bus/topic_message.h"
#include "launcher/bus_monitor.h"
#include "launcher/private_bus.h"
#include "launcher/recording.h"
#include "launcher/shared_region.h"
#include "launcher/supervision.h"
#include "launcher/temporary_folder.h"
#include "log/desktop_log.h"
#include "log/recorded_log.h"
#include "service/scenario/scenario_files.h"
#include "service/service_options.h"
#include "trace/recorder/recording_writer.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

using namespace velmora::desktop;

namespace {

struct RunOptions {
    bool privateShm = false; ///< required; by default it is private where that is possible
    bool sharedShm = false;
    std::string engine;
    double openTimeout = kDefaultOpenTimeout;
    std::string scenario;
    std::string service; ///< a program; empty for zuv-service
    std::string record;  ///< a file; empty for no recording
    bool trace = false;
    CommandLine command;
};

int complain(const std::exception& error, int status) {
    std::fprintf(stderr, "zuv-desktop: %s\n", error.what());
    return status;
}

int runCommand(const CommandLine& command, const Supervision& supervision, pid_t daemon) {
    pid_t process = 0;
    try {
        process = startProgram(command);
    } catch (const std::system_error& error) {
        const bool isMissing = error.code() == std::errc::no_such_file_or_directory;
        return complain(error, isMissing ? exit_status::kNotFound : exit_status::kNotExecutable);
    }
    return supervision.untilEndOf(process, daemon);
}

/// Passes the options in the environment, because the bus starts the service without arguments.
void tellService(const RunOptions& options) {
    if (!options.engine.empty())
        setenv(kEngineVariable, options.engine.c_str(), 1);
    if (options.openTimeout != kDefaultOpenTimeout)
        setenv(kOpenTimeoutVariable, std::to_string(options.openTimeout).c_str(), 1);
    if (options.scenario.empty())
        return;
    const std::filesystem::path file = scenarioFile(options.scenario);
    loadScenario(file); // reports errors now instead of when the bus starts the service
    setenv(kScenarioVariable, file.c_str(), 1);
}

int listScenarios() {
    try {
        return printResult(scenarioList());
    } catch (const std::exception& error) {
        return complain(error, exit_status::kFailure);
    }
}

/// @return whether the run has a /dev/shm of its own.
bool isolateShm(const RunOptions& options) {
    if (options.sharedShm)
        return false;
    const std::error_code problem = tryPrivateShm();
    if (!problem) {
        enterPrivateShm();
        return true;
    }
    if (options.privateShm)
        throw std::system_error(problem, "cannot have a /dev/shm of its own");
    logWarning("no private /dev/shm ({}): shared with other runs of this user", problem.message());
    return false;
}

/// Returns when the command and everything else of the run has ended.
/// @param recording null for none.
int runOnBus(const RunOptions& options, const std::filesystem::path& programs, const Recording* recording) {
    removeAbandonedFolders();
    const Supervision supervision;
    std::optional<BusMonitor> monitor; // outlives the bus, whose end ends it
    const PrivateBus bus(programs,
                         options.service.empty() ? programs / "zuv-service" : std::filesystem::path(options.service));
    logDebug("bus ready: address={} daemon={}", bus.address(), bus.daemonProcess());
    setenv(kBusAddressVariable, bus.address().c_str(), 1);
    if (recording != nullptr) {
        recording->preloadRecorder(programs);
        monitor.emplace(bus.address());
    }
    return runCommand(options.command, supervision, bus.daemonProcess());
}

int runWithPlatform(const RunOptions& options, const std::filesystem::path& programs, const Recording* recording) {
    recordDesktopLog(velmora::trace::role::kLauncher);
    tellService(options);
    const bool hasPrivateShm = isolateShm(options);
    if (recording != nullptr)
        recording->requireVisible();
    std::optional<RecordingViewer> viewer;
    if (options.trace)
        viewer.emplace(programs, recording->file());
    const int status = runOnBus(options, programs, recording);
    if (!hasPrivateShm)
        removeUnusedRegion();
    return status;
}

int run(const RunOptions& options) {
    try {
        // Read before the mounts are unshared, which changes the path in a chroot.
        const auto programs = std::filesystem::read_symlink("/proc/self/exe").parent_path();
        if (options.trace) {
            const TemporaryFolder folder;
            const Recording recording(folder.path() / "recording.jsonl");
            return runWithPlatform(options, programs, &recording);
        }
        if (options.record.empty())
            return runWithPlatform(options, programs, nullptr);
        const Recording recording(options.record);
        return runWithPlatform(options, programs, &recording);
    } catch (const std::exception& error) {
        return complain(error, exit_status::kNothingRun);
    }
}

constexpr const char* kRunDescription =
    "Runs a command with the desktop platform around it: run [OPTIONS] -- COMMAND ...\n"
    "COMMAND, everything behind --, runs on a bus of its own with the media service and the keeper behind it. They\n"
    "start when they are first asked for and end with the command. SIGINT, SIGTERM and SIGHUP are passed on to it.\n"
    "Exits with the command's status; with 128 + n when signal n killed it, with 127 when it was not found, with 126\n"
    "when it could not be executed, with 125 when the bus could not be started or the scenario is not valid, and with "
    "2\n"
    "when the options are wrong.";

} // namespace

int main(int argc, char** argv) {
    bool listing = false;
    RunOptions options;
    CommandLineParser parser("The desktop platform of the media proxy: what stands in for the device.");
    parser.addFlag("--list-scenarios", kListScenariosHelp, listing);
    CommandLineParser& runParser = parser.addSubcommand("run", kRunDescription, options.command);
    runParser.addFlag("--private-shm",
                      "Fail where the command and the service cannot have a /dev/shm of their own. Without this "
                      "option they then share the machine's",
                      options.privateShm);
    runParser.addFlag("--shared-shm", "Let the command and the service use the machine's /dev/shm", options.sharedShm);
    runParser.addWord({"--engine", kEngineHelp, ""}, {kGstreamerEngine, kSimulatedEngine}, options.engine);
    runParser.addNumber({"--open-timeout", kOpenTimeoutHelp, ""}, kOpenTimeoutRange, options.openTimeout);
    runParser.addText({"--scenario", kScenarioHelp, ""}, options.scenario);
    runParser.addText({"--service", "Start this program as the service, in place of zuv-service", ""}, options.service);
    runParser.addText({"--record", "Record the run into this file, in place of what it holds", ""}, options.record);
    runParser.addFlag("--trace", "Show on stderr what the programs of the run say to each other", options.trace);
    if (const auto status = parser.parse(argc, argv))
        return *status;

    if (listing)
        return listScenarios();
    if (!runParser.isGiven())
        return parser.refuse("run -- COMMAND is required");
    if (options.privateShm && options.sharedShm)
        return runParser.refuse("--private-shm and --shared-shm exclude each other");
    if (options.trace && !options.record.empty())
        return runParser.refuse("--record and --trace exclude each other");
    return run(options);
}
