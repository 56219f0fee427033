// zuv-keeper: keeps the last value of the platform's topics. The bus starts it when it is first asked.
#include "bus/keeper/value_keeper.h"
#include "log/desktop_log.h"

#include <CLI/CLI.hpp>
#include <spdlog/spdlog.h>

#include <cstdlib>
#include <system_error>

int main(int argc, char** argv) {
    CLI::App app("Keeps the last value of each topic of the media platform, and ends when the bus goes away.\n"
                 "The bus is the one that DBUS_SESSION_BUS_ADDRESS names; the level of the log is in ZUV_LOG_LEVEL\n"
                 "(off, milestones, failures, progress, dump or a number).");
    CLI11_PARSE(app, argc, argv);
    velmora::desktop::useDesktopLogAsDefault();

    try {
        velmora::desktop::ValueKeeper().run();
        return EXIT_SUCCESS;
    } catch (const std::system_error& error) {
        spdlog::error("keeper cannot work: error={}", error.code().message());
        return EXIT_FAILURE;
    }
}
