// The limits of the HTTP server.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_SERVING_LIMITS_H
#define ZUV_DESKTOP_SERVICE_HTTP_SERVING_LIMITS_H

#include <chrono>

namespace velmora::desktop {

struct ServingLimits {
    using Time = std::chrono::milliseconds;

    unsigned connections = 4096;   ///< at the same time; further ones wait in the kernel's queue
    Time request = Time(10'000);   ///< for a complete request to arrive; also how long an idle connection is kept
    Time connect = Time(5'000);    ///< for the connection to an upstream server
    Time firstByte = Time(15'000); ///< for the first byte of its response, including redirects
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_SERVING_LIMITS_H
