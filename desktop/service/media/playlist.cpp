#include "service/media/playlist.h"

#include "service/media/dash_manifest.h"
#include "service/media/hls_playlist.h"

#include <algorithm>
#include <fstream>

namespace velmora::desktop {

namespace {

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

std::string_view withoutMark(std::string_view text) {
    return text.substr(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0);
}

} // namespace

bool mayBePlaylist(std::string_view beginning) {
    if (kByteOrderMark.starts_with(beginning))
        return true;
    const std::string_view text = withoutMark(beginning);
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    const bool hls = text.starts_with(kHlsBeginning) || kHlsBeginning.starts_with(text);
    return hls || first == std::string_view::npos || text[first] == '<';
}

std::string readPlaylist(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text(64, '\0');
    const auto read = [&](std::size_t from) {
        stream.read(text.data() + from, static_cast<std::streamsize>(text.size() - from));
        text.resize(from + static_cast<std::size_t>(stream.gcount()));
    };
    read(0);
    if (text.empty() || !mayBePlaylist(text))
        return "";
    const std::size_t begun = text.size();
    text.resize(kMaximumPlaylistSize + 1);
    read(begun);
    return text.size() > kMaximumPlaylistSize ? "" : text;
}

std::optional<Playlist> parsePlaylist(const std::string& text) {
    const std::string_view content = withoutMark(text);
    return content.starts_with(kHlsBeginning) ? parseHlsPlaylist(content) : parseDashManifest(content);
}

std::vector<PlaylistVariant> byHeight(std::vector<PlaylistVariant> variants) {
    std::stable_sort(variants.begin(), variants.end(),
                     [](const PlaylistVariant& a, const PlaylistVariant& b) { return a.height < b.height; });
    const auto repeated = std::unique(variants.begin(), variants.end(),
                                      [](const auto& a, const auto& b) { return a.height == b.height; });
    variants.erase(repeated, variants.end());
    return variants;
}

} // namespace velmora::desktop
