// A medium as the server has it: where it is, and whether it is served still.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H
#define ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H

#include "service/media/media_location.h"

#include <atomic>

namespace velmora::desktop {

struct ServedLocation {
    explicit ServedLocation(MediaLocation where) : location(std::move(where)) {}

    const MediaLocation location;
    std::atomic<bool> withdrawn = false; ///< responses about it are cut short
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H
