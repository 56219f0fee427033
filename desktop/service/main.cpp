// zuv-service: plays the media of the bus's clients.
//
// THREADS
//   The main thread runs the event loop: it reads commands, answers pings, looks after the objects
//   (MediaService) and writes every event (EventPublisher). It never waits for media, HTTP or another
//   process. Each object with work to do has a thread of its own (MediaObject), which opens, seeks and ends
//   its pipelines; one more ends the objects of clients that left. GStreamer's threads decode, and report to
//   the object's thread through the pipeline's message queue. The HTTP server has its threads (MediaServer);
//   they share the map of what is served, under its mutex. From any thread to the loop: EventSink, by way of
//   LoopTasks. From the loop to an object: Worker::post().
// LOCKS
//   None is held while another is taken, nor while an event is handled or media are worked on.
#include "desktop_log.h"
#include "event_publisher.h"
#include "gstreamer_engine.h"
#include "media_server.h"
#include "media_service.h"
#include "service_bus.h"
#include "topic_message.h"

#include <CLI/CLI.hpp>
#include <gst/gst.h>
#include <spdlog/spdlog.h>

#include <csignal>
#include <cstdlib>
#include <exception>

namespace {

using namespace velmora::desktop;

/// Signals that end the service arrive in the event loop. Before any thread begins: each inherits the mask.
void blockSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // an HTTP reader that left is no reason to end
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

/// @return when SIGTERM or SIGINT arrives or the bus goes away; the media have ended then.
void serve(double openTimeout) {
    EventRegion region("/ZUV_PROXY");
    MediaServer server;
    GstreamerEngine engine{std::chrono::milliseconds(static_cast<long>(openTimeout * 1000))};
    // From here on in this order, so that at the end the media go first, then the name on the bus, and the
    // server last, which may wait for a slow reader.
    const EventLoop loop = makeLoop();
    ServiceBus bus(loop.get());
    EventPublisher publisher(loop.get(), region, [&bus](const auto& values) { bus.sendEvent(values); });
    MediaService service({engine, server, publisher});
    bus.serve({[&service](const auto& values, const auto& client) { service.onCommand(values, client); },
               [&service](const auto& client) { service.onClientLeft(client); }});
    spdlog::info("ready name={}", kServiceName);
    requireSuccess(sd_event_loop(loop.get()), "the event loop failed");
}

} // namespace

int main(int argc, char** argv) {
    CLI::App options("Plays the media of the clients on the bus that DBUS_SESSION_BUS_ADDRESS names. "
                     "Usually started by the bus.");
    options.set_version_flag("--version", ZUV_VERSION);
    double openTimeout = 5;
    options
        .add_option("--open-timeout", openTimeout,
                    "Seconds after which a medium that is not ready counts as unplayable")
        ->check(CLI::Range(0.001, 3600.0))
        ->capture_default_str();
    CLI11_PARSE(options, argc, argv);
    try {
        useDesktopLogAsDefault();
        blockSignals();
        gst_init(nullptr, nullptr);
        serve(openTimeout);
    } catch (const std::exception& error) {
        spdlog::error("{}", error.what());
        return EXIT_FAILURE;
    }
    spdlog::info("ended");
    return EXIT_SUCCESS;
}
