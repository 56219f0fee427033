// A served medium: what is served, and whether it still is.
#ifndef ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H
#define ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H

#include "service/http/playlist_siblings.h"
#include "service/media/media_location.h"

#include <atomic>
#include <memory>

namespace velmora::desktop {

struct ServedLocation {
    explicit ServedLocation(MediaLocation where) : location(std::move(where)) {}

    const MediaLocation location;
    std::unique_ptr<PlaylistSiblings> siblings; ///< of a playlist; used on the server's thread only
    std::atomic<bool> withdrawn = false;        ///< its responses are cut short
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_HTTP_SERVED_LOCATION_H
