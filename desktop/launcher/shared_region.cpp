#include "launcher/shared_region.h"

#include "base/file_descriptor.h"
#include "service/service_options.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmora::desktop {

void removeUnusedRegion() {
    const FileDescriptor region(shm_open(kEventRegionName, O_RDWR | O_CLOEXEC, 0));
    struct stat status = {};
    if (region.get() < 0 || fstat(region.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != geteuid())
        return;
    // Each service holds a shared lock. One that opens the region in this moment finds the name gone and makes it anew.
    if (flock(region.get(), LOCK_EX | LOCK_NB) == 0)
        shm_unlink(kEventRegionName);
}

} // namespace velmora::desktop
