#include "service_deeds.h"

#include <spdlog/spdlog.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace velmora::desktop {

namespace {

/// Without a core file: this crash is nobody's riddle.
[[noreturn]] void crash() {
    prctl(PR_SET_DUMPABLE, 0);
    std::abort();
}

} // namespace

void perform(Deed deed, EventRegion& region) {
    switch (deed) {
    case Deed::Freeze:
        spdlog::info("scenario: freezing");
        kill(getpid(), SIGSTOP);
        return;
    case Deed::Exit:
        spdlog::info("scenario: exiting");
        _exit(EXIT_FAILURE);
    case Deed::Abort:
        spdlog::info("scenario: aborting");
        crash();
    case Deed::RemoveMemory:
        spdlog::info("scenario: removing shared memory");
        return region.remove();
    case Deed::RecreateMemory:
        spdlog::info("scenario: making shared memory anew");
        return region.recreate();
    }
}

} // namespace velmora::desktop
