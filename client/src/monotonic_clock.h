// The clock of commands and time limits: unlike the time of day, it never jumps.
#ifndef ZUV_MONOTONIC_CLOCK_H
#define ZUV_MONOTONIC_CLOCK_H

#include <time.h>

namespace velmora {

/// CLOCK_MONOTONIC in seconds, -1.0 when it cannot be read.
inline double monotonicSeconds() {
    timespec now;
    if (clock_gettime(CLOCK_MONOTONIC, &now) != 0)
        return -1.0;
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

} // namespace velmora

#endif // ZUV_MONOTONIC_CLOCK_H
