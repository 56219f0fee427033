// How much the HTTP server puts up with.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_SERVING_LIMITS_H
#define ZUV_DESKTOP_SERVICE_HTTP_SERVING_LIMITS_H

#include <chrono>

namespace velmora::desktop {

struct ServingLimits {
    using Time = std::chrono::milliseconds;

    unsigned connections = 4096;   ///< further ones wait in the kernel's queue
    Time request = Time(10'000);   ///< for a request to arrive complete; also how long an idle connection is kept
    Time connect = Time(5'000);    ///< for the connection to a medium's own server
    Time firstByte = Time(15'000); ///< until that server has begun to answer, redirects included
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_SERVING_LIMITS_H
