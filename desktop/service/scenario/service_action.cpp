#include "service/scenario/service_action.h"

#include <spdlog/spdlog.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace velmora::desktop {

namespace {

/// Without a core file: nobody has to find out why this crash happened.
[[noreturn]] void crash() {
    prctl(PR_SET_DUMPABLE, 0);
    std::abort();
}

} // namespace

void perform(ServiceAction action, EventRegion& region) {
    switch (action) {
    case ServiceAction::Freeze:
        spdlog::info("scenario: freezing");
        kill(getpid(), SIGSTOP);
        return;
    case ServiceAction::Exit:
        spdlog::info("scenario: exiting");
        _exit(EXIT_FAILURE);
    case ServiceAction::Abort:
        spdlog::info("scenario: aborting");
        crash();
    case ServiceAction::RemoveMemory:
        spdlog::info("scenario: removing shared memory");
        return region.remove();
    case ServiceAction::RecreateMemory:
        spdlog::info("scenario: making shared memory anew");
        return region.recreate();
    }
}

} // namespace velmora::desktop
