// zuv-replay: does to its clients what the service of a recording did. `zuv-trace replay` has the bus start it in place
// of zuv-service. One thread, which runs the event loop.
#include "base/command_line.h"
#include "bus/topic_message.h"
#include "log/desktop_log.h"
#include "log/recorded_log.h"
#include "service/event_publisher.h"
#include "service/ipc/service_bus.h"
#include "service/service_options.h"
#include "trace/recorder/recording_writer.h"
#include "trace/replay/script_player.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace velmora::desktop;
using namespace velmora::replay;

constexpr const char* kScriptVariable = "ZUV_REPLAY_SCRIPT";
constexpr const char* kLifeVariable = "ZUV_REPLAY_LIFE";

struct ReplayOptions {
    std::string script;
    double life = 1;
};

/// The life that this process plays. A service that is started more often than the recorded one does nothing.
Life chosenLife(const ReplayOptions& options) {
    const std::vector<Life> lives = loadScript(options.script);
    const auto number = static_cast<std::size_t>(options.life);
    if (number <= lives.size())
        return lives[number - 1];
    logWarning("the recorded service was started {} times, and this is the next: nothing is answered", lives.size());
    return {};
}

void end(End end, ServiceBus& bus) {
    bus.flush(); // the earlier events are sent before
    if (end == End::Exit)
        _exit(EXIT_FAILURE);
    kill(getpid(), SIGSTOP);
}

/// Returns when the connection to the bus is lost.
void serve(const ReplayOptions& options) {
    const Life life = chosenLife(options);
    EventRegion region(kEventRegionName);
    region.begin("{}"); // as the service leaves a new region
    const EventLoop loop = makeEventLoop();
    ServiceBus bus(loop.get());
    bus.setActivationVariable(kLifeVariable, std::to_string(static_cast<int>(options.life) + 1));
    EventPublisher publisher(loop.get(), region, [&bus](const auto& values) { return bus.sendEvent(values); });
    ScriptPlayer player(loop.get(), life, publisher, [&bus](End how) { end(how, bus); });
    bus.serve({[&player](const auto& values, const auto&) { player.onCommand(values); }, [](const auto&) {}});
    player.begin();
    logInfo("ready name={} replaying={}", kServiceName, options.script);
    requireSuccess(sd_event_loop(loop.get()), "the event loop failed");
}

} // namespace

int main(int argc, char** argv) {
    ReplayOptions options;
    CommandLineParser parser("Plays the service of a recording to the clients on the bus that "
                             "DBUS_SESSION_BUS_ADDRESS names. Started by the bus for `zuv-trace replay`.");
    parser.addText({"--script", "What the service did, as zuv-trace wrote it", kScriptVariable}, options.script);
    parser.addNumber({"--life", "Which of the recorded services to play, from 1 (default: 1)", kLifeVariable},
                     {1, 1000000}, options.life);
    if (const auto status = parser.parse(argc, argv))
        return *status;
    try {
        recordDesktopLog(velmora::trace::role::kService);
        serve(options);
    } catch (const std::exception& error) {
        logError("{}", error.what());
        return exit_status::kFailure;
    }
    return exit_status::kSuccess;
}
