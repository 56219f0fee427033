// Finding the medium that a client names.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_LOCATION_H
#define ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_LOCATION_H

#include <filesystem>
#include <string>

namespace velmora::desktop {

/// The location of a medium.
struct MediaLocation {
    std::string uri;            ///< "file:///...", "http://..." or "https://..."
    std::filesystem::path file; ///< of a local medium; empty for an http or https URL
};

/// Whether a URL has the scheme http or https.
bool isHttp(const std::string& url);

/// Accepts an absolute path, a file URL of this machine and an http or https URL.
/// @throws CommandFailure BadCommand for anything else, NotFound for a file that does not exist, and Unplayable for one
///     that is not a regular file (opening a pipe or a device could block for ever).
MediaLocation locateMedia(const std::string& url);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_LOCATION_H
