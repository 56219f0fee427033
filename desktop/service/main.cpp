// zuv-service: plays the media of the bus's clients.
//
// THREADS
//   The main thread runs the event loop. It receives commands, answers pings, manages the objects (MediaService) and
//   publishes every event (EventPublisher, with a scenario behind a ScenarioPlayer). It never waits for media, HTTP or
//   another process.
//   Each object that has received a command has a thread (MediaObject), which opens, seeks and ends its media. While a
//   later command makes the one under way pointless, it has a second (CommandInProgress), which interrupts a command
//   that hangs. One more thread (MediaService) destroys the objects of clients that have left.
//   GStreamer's threads decode, and report to the object's thread through the pipeline's message queue.
//   The HTTP server has one thread for all readers and all upstream servers (MediaServer).
//   Objects reach the loop through EventQueue, and the loop reaches an object through Worker::post().
// LOCKS
//   LoopTasks, Worker and CommandBacklog each guard their queue with a mutex, and MediaServer the set of served media.
//   No two are held at the same time, and none while a task runs. Everything else belongs to one thread, as its class
//   says.
#include "base/command_line.h"
#include "base/quoted_text.h"
#include "bus/topic_message.h"
#include "log/desktop_log.h"
#include "log/recorded_log.h"
#include "service/event_publisher.h"
#include "service/event_queue.h"
#include "service/http/media_server.h"
#include "service/ipc/service_bus.h"
#include "service/media/gstreamer_engine.h"
#include "service/media/simulated_engine.h"
#include "service/media_service.h"
#include "service/scenario/scenario_files.h"
#include "service/scenario/scenario_player.h"
#include "service/scenario/service_action.h"
#include "service/service_options.h"
#include "trace/recorder/recording_writer.h"

#include <gst/gst.h>
#include <sys/resource.h>

#include <csignal>
#include <exception>
#include <memory>
#include <optional>
#include <string>

namespace {

using namespace velmora::desktop;

struct ServiceOptions {
    std::string engine = kGstreamerEngine;
    double openTimeout = kDefaultOpenTimeout;
    std::string scenario;
    bool listScenarios = false;
};

/// Leaves the signals that end the service to the event loop. Called before any thread starts, because threads inherit
/// the mask.
void blockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // writing to an HTTP reader that has left must not end the process
}

/// Raises the limit of open files to the maximum: each reader needs two, and may pause for any length of time. The
/// lower default is for programs that call select(), which this one does not.
void allowManyReaders() {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
}

/// A loop that ends on SIGTERM and SIGINT, which is what sd-event does for a signal without a handler.
EventLoop makeSignalledLoop() {
    EventLoop loop = makeEventLoop();
    requireSuccess(sd_event_add_signal(loop.get(), nullptr, SIGTERM, nullptr, nullptr), "cannot watch SIGTERM");
    requireSuccess(sd_event_add_signal(loop.get(), nullptr, SIGINT, nullptr, nullptr), "cannot watch SIGINT");
    return loop;
}

std::unique_ptr<MediaEngine> makeEngine(const ServiceOptions& options) {
    if (options.engine == kSimulatedEngine)
        return std::make_unique<SimulatedEngine>();
    gst_init(nullptr, nullptr);
    const std::chrono::milliseconds openTimeout(static_cast<long>(options.openTimeout * 1000));
    return std::make_unique<GstreamerEngine>(openTimeout);
}

std::optional<Scenario> chosenScenario(const ServiceOptions& options) {
    if (options.scenario.empty())
        return std::nullopt;
    return loadScenario(scenarioFile(options.scenario));
}

std::unique_ptr<ScenarioPlayer> makePlayer(const Scenario& scenario, sd_event* loop, EventPublisher& publisher,
                                           ServiceBus& bus, EventRegion& region) {
    if (scenario.once)
        bus.setActivationVariable(kScenarioVariable, "");
    return std::make_unique<ScenarioPlayer>(loop, scenario, publisher, [&bus, &region](ServiceAction action) {
        bus.flush(); // an action can end the process: the earlier events are sent before
        perform(action, region);
    });
}

/// Returns when SIGTERM or SIGINT arrives or the bus connection is lost, after the media have ended.
void serve(const ServiceOptions& options) {
    const std::optional<Scenario> scenario = chosenScenario(options);
    EventRegion region(kEventRegionName);
    region.begin("{}"); // clients that look before the first event take an empty text for a fault
    MediaServer server;
    const std::unique_ptr<MediaEngine> engine = makeEngine(options);
    // The order matters at the end: first the media end, then the name on the bus is released, and the server ends
    // last.
    const EventLoop loop = makeSignalledLoop();
    ServiceBus bus(loop.get());
    EventPublisher publisher(loop.get(), region, [&bus](const auto& values) { return bus.sendEvent(values); });
    const auto player = scenario ? makePlayer(*scenario, loop.get(), publisher, bus, region) : nullptr;
    EventQueue events(loop.get(), player ? static_cast<EventSink&>(*player) : publisher);
    MediaService service({*engine, server, events});
    bus.serve({[&service](const auto& values, const auto& client) { service.onCommand(values, client); },
               [&service](const auto& client) { service.onClientLeft(client); }});
    logInfo("ready name={} engine={} scenario={}", kServiceName, options.engine, inQuotes(options.scenario));
    requireSuccess(sd_event_loop(loop.get()), "the event loop failed");
}

} // namespace

int main(int argc, char** argv) {
    ServiceOptions options;
    CommandLineParser parser("Plays the media of the clients on the bus that DBUS_SESSION_BUS_ADDRESS names. "
                             "Usually started by the bus.");
    parser.addWord({"--engine", kEngineHelp, kEngineVariable}, {kGstreamerEngine, kSimulatedEngine}, options.engine);
    parser.addNumber({"--open-timeout", kOpenTimeoutHelp, kOpenTimeoutVariable}, kOpenTimeoutRange,
                     options.openTimeout);
    parser.addText({"--scenario", kScenarioHelp, kScenarioVariable}, options.scenario);
    parser.addFlag("--list-scenarios", kListScenariosHelp, options.listScenarios);
    if (const auto status = parser.parse(argc, argv))
        return *status;
    try {
        recordDesktopLog(velmora::trace::role::kService);
        if (options.listScenarios)
            return printResult(scenarioList());
        blockSignals();
        allowManyReaders();
        serve(options);
    } catch (const std::exception& error) {
        logError("{}", error.what());
        return exit_status::kFailure;
    }
    logInfo("ended");
    return exit_status::kSuccess;
}
