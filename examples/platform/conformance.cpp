// Describes this platform to the conformance suite, which compiles this file as its ZUV_PLATFORM_DESCRIPTION. It is not
// part of the platform's library.
#include "platform/platform_under_test.h"

namespace velmora::platform_test {

PlatformUnderTest describePlatform() {
    return {.service = Lacking{"the minimal platform starts no processes, and so no service"},
            .stalledBus = Lacking{"the bus is a part of the process, and cannot hang by itself"},
            .missingBus = Lacking{"the bus is a part of the process, and always there"},
            .highestLevel = 1000,
            .logOf = stderrOf};
}

} // namespace velmora::platform_test
