// Playlists: HLS playlists and DASH manifests, which name the files that a medium consists of.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_PLAYLIST_H
#define ZUV_DESKTOP_SERVICE_MEDIA_PLAYLIST_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora::desktop {

/// A quality that a playlist offers.
struct PlaylistVariant {
    int height;            ///< of the video, in lines; 0 for sound alone
    std::string reference; ///< to its own playlist, as written; empty if it has none
};

struct Playlist {
    bool master = false;                        ///< whether it refers to playlists, rather than to parts of the medium
    std::vector<PlaylistVariant> variants = {}; ///< one for each height, lowest first
    /// To the files that it names, as written. kAnyNumber stands for a decimal number.
    std::vector<std::string> references = {};
};

/// In a reference, any decimal number: a DASH manifest can name files by a pattern.
inline constexpr char kAnyNumber = '\x01';

/// Larger ones are not read.
inline constexpr std::size_t kMaximumPlaylistSize = std::size_t{4} * 1024 * 1024;

/// Whether a file that begins like this can be a playlist. Never false for the beginning of a playlist, however short.
bool mayBePlaylist(std::string_view beginning);

/// The text of a file that may be a playlist; empty for any other, or one that cannot be read.
std::string readPlaylist(const std::filesystem::path& file);

/// @return no value if the text is not a playlist.
std::optional<Playlist> parsePlaylist(const std::string& text);

/// The variants with one for each height, lowest first; the first of several of one height.
std::vector<PlaylistVariant> byHeight(std::vector<PlaylistVariant> variants);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_PLAYLIST_H
