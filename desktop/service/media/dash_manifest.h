// DASH manifests (ISO/IEC 23009-1): media presentation descriptions.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_DASH_MANIFEST_H
#define ZUV_DESKTOP_SERVICE_MEDIA_DASH_MANIFEST_H

#include "service/media/playlist.h"

#include <optional>
#include <string_view>

namespace velmora::desktop {

/// The representations of the manifest are its variants. They have no references of their own: one manifest describes
/// them all. Entities are not expanded.
/// @return no value if the text is not a DASH manifest.
std::optional<Playlist> parseDashManifest(std::string_view text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_DASH_MANIFEST_H
