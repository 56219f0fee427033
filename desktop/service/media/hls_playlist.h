// HLS playlists (RFC 8216).
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_HLS_PLAYLIST_H
#define ZUV_DESKTOP_SERVICE_MEDIA_HLS_PLAYLIST_H

#include "service/media/playlist.h"

#include <optional>
#include <string_view>

namespace velmora::desktop {

inline constexpr std::string_view kHlsBeginning = "#EXTM3U";

/// A master or a media playlist. A variant without a resolution counts as sound if its codecs say so, and is left out
/// if they do not.
/// @return no value if the text is not an HLS playlist.
std::optional<Playlist> parseHlsPlaylist(std::string_view text);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_HLS_PLAYLIST_H
