// zuv-keeper: keeps the last value of the platform's topics. The bus starts it when it is first asked.
#include "base/command_line.h"
#include "bus/keeper/value_keeper.h"
#include "log/desktop_log.h"
#include "log/recorded_log.h"
#include "trace/recorder/recording_writer.h"

#include <system_error>

int main(int argc, char** argv) {
    using namespace velmora::desktop;
    CommandLineParser parser(
        "Keeps the last value of each topic of the media platform, and ends when the bus goes away.\n"
        "The bus is the one that DBUS_SESSION_BUS_ADDRESS names; the level of the log is in\n"
        "ZUV_LOG_LEVEL (off, milestones, failures, progress, dump or a number).");
    if (const auto status = parser.parse(argc, argv))
        return *status;
    recordDesktopLog(velmora::trace::role::kKeeper);
    try {
        ValueKeeper().run();
        return exit_status::kSuccess;
    } catch (const std::system_error& error) {
        logError("keeper cannot work: error={}", error.code().message());
        return exit_status::kFailure;
    }
}
