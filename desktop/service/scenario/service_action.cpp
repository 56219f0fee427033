#include "service/scenario/service_action.h"

#include "log/desktop_log.h"

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
        logInfo("scenario: freezing");
        kill(getpid(), SIGSTOP);
        return;
    case ServiceAction::Exit:
        logInfo("scenario: exiting");
        _exit(EXIT_FAILURE);
    case ServiceAction::Abort:
        logInfo("scenario: aborting");
        crash();
    case ServiceAction::RemoveMemory:
        logInfo("scenario: removing shared memory");
        return region.remove();
    case ServiceAction::RecreateMemory:
        logInfo("scenario: making shared memory anew");
        return region.recreate();
    }
}

} // namespace velmora::desktop
