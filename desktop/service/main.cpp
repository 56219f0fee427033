// zuv-service: plays the media of the bus's clients.
//
// THREADS
//   The main thread runs the event loop: it reads commands, answers pings, looks after the objects
//   (MediaService) and writes every event (EventPublisher). It never waits for media, HTTP or another
//   process. Each object with work to do has a thread of its own (MediaObject), which opens, seeks and ends
//   its pipelines; one more ends the objects of clients that left. GStreamer's threads decode, and report to
//   the object's thread through the pipeline's message queue. The HTTP server has one thread for all readers
//   and all foreign servers (MediaServer); the objects' threads share the map of what is served with it,
//   under its mutex. From any thread to the loop: EventSink, by way of
//   LoopTasks. From the loop to an object: Worker::post().
// LOCKS
//   None is held while another is taken, nor while an event is handled or media are worked on.
#include "bus/topic_message.h"
#include "log/desktop_log.h"
#include "service/event_publisher.h"
#include "service/http/media_server.h"
#include "service/ipc/service_bus.h"
#include "service/media/gstreamer_engine.h"
#include "service/media/simulated_engine.h"
#include "service/media_service.h"
#include "service/scenario/scenario_files.h"
#include "service/scenario/service_action.h"

#include <CLI/CLI.hpp>
#include <gst/gst.h>
#include <spdlog/spdlog.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>

namespace {

using namespace velmora::desktop;

constexpr const char* kGstreamer = "gstreamer";
constexpr const char* kSimulated = "simulated";
constexpr const char* kScenarioVariable = "ZUV_SERVICE_SCENARIO";

struct ServiceOptions {
    std::string engine = kGstreamer;
    double openTimeout = 5;
    std::string scenario;
    bool listScenarios = false;
};

/// Signals that end the service arrive in the event loop. Before any thread begins: each inherits the mask.
void blockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // an HTTP reader that left is no reason to end
}

/// A reader takes two of the files that the process may have open, and may pause for as long as it likes. The limit that a
/// shell sets is for programs that call select(), which this one does not.
void allowManyReaders() {
    rlimit files{};
    getrlimit(RLIMIT_NOFILE, &files);
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
}

EventLoop makeLoop() {
    sd_event* loop = nullptr;
    requireSuccess(sd_event_new(&loop), "cannot make an event loop");
    EventLoop owned(loop);
    // Without a handler, the signal ends the loop.
    requireSuccess(sd_event_add_signal(loop, nullptr, SIGTERM, nullptr, nullptr), "cannot watch SIGTERM");
    requireSuccess(sd_event_add_signal(loop, nullptr, SIGINT, nullptr, nullptr), "cannot watch SIGINT");
    return owned;
}

std::unique_ptr<MediaEngine> makeEngine(const ServiceOptions& options) {
    if (options.engine == kSimulated)
        return std::make_unique<SimulatedEngine>();
    gst_init(nullptr, nullptr);
    const std::chrono::milliseconds openTimeout(static_cast<long>(options.openTimeout * 1000));
    return std::make_unique<GstreamerEngine>(openTimeout);
}

/// @return when SIGTERM or SIGINT arrives or the bus goes away; the media have ended then.
void serve(const ServiceOptions& options) {
    const Scenario scenario = options.scenario.empty() ? Scenario{} : loadScenario(scenarioFile(options.scenario));
    EventRegion region("/ZUV_PROXY");
    MediaServer server;
    const std::unique_ptr<MediaEngine> engine = makeEngine(options);
    // From here on in this order, so that at the end the media go first, then the name on the bus, and the
    // server last.
    const EventLoop loop = makeLoop();
    ServiceBus bus(loop.get());
    if (scenario.once)
        bus.setActivationVariable(kScenarioVariable, "");
    EventPublisher publisher(
        loop.get(), region, [&bus](const auto& values) { bus.sendEvent(values); }, scenario,
        [&bus, &region](ServiceAction action) {
            bus.flush(); // what came before has gone
            perform(action, region);
        });
    MediaService service({*engine, server, publisher});
    bus.serve({[&service](const auto& values, const auto& client) { service.onCommand(values, client); },
               [&service](const auto& client) { service.onClientLeft(client); }});
    spdlog::info("ready name={} engine={} scenario={:?}", kServiceName, options.engine, options.scenario);
    requireSuccess(sd_event_loop(loop.get()), "the event loop failed");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App app("Plays the media of the clients on the bus that DBUS_SESSION_BUS_ADDRESS names. "
                 "Usually started by the bus.");
    app.set_version_flag("--version", ZUV_VERSION);
    ServiceOptions options;
    app.add_option("--engine", options.engine,
                   "What plays the media: gstreamer, or simulated, which plays whatever exists without "
                   "looking at it")
        ->envname("ZUV_SERVICE_ENGINE")
        ->check(CLI::IsMember({kGstreamer, kSimulated}))
        ->capture_default_str();
    app.add_option("--open-timeout", options.openTimeout,
                   "Seconds after which a medium that is not ready counts as unplayable")
        ->check(CLI::Range(0.001, 3600.0))
        ->capture_default_str();
    app.add_option("--scenario", options.scenario,
                   "Misbehave on purpose: a scenario's file, or the name of one of --list-scenarios")
        ->envname(kScenarioVariable);
    app.add_flag("--list-scenarios", options.listScenarios, "Explain the scenarios that come with the service");
    CLI11_PARSE(app, argc, argv);
    try {
        useDesktopLogAsDefault();
        if (options.listScenarios) {
            std::fputs(scenarioList().c_str(), stdout);
            return EXIT_SUCCESS;
        }
        blockSignals();
        allowManyReaders();
        serve(options);
    } catch (const std::exception& error) {
        spdlog::error("{}", error.what());
        return EXIT_FAILURE;
    }
    spdlog::info("ended");
    return EXIT_SUCCESS;
}
