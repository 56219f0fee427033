// A served medium: its location, and whether it is still served.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H
#define ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H

#include "service/media/media_location.h"

#include <atomic>

namespace velmora::desktop {

struct ServedLocation {
    explicit ServedLocation(MediaLocation where) : location(std::move(where)) {}

    const MediaLocation location;
    std::atomic<bool> withdrawn = false; ///< its responses are cut short
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H
