#include "service/media/hls_playlist.h"

#include <charconv>
#include <map>
#include <string>

namespace velmora::desktop {

namespace {

constexpr std::string_view kTag = "#EXT";
constexpr std::string_view kVariantTag = "#EXT-X-STREAM-INF";
constexpr std::string_view kRenditionTag = "#EXT-X-MEDIA";

using Attributes = std::map<std::string_view, std::string_view>;

/// Takes everything up to a character, and removes it with the character.
std::string_view takeUntil(std::string_view& text, char end) {
    const std::size_t size = std::min(text.find(end), text.size());
    const std::string_view taken = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    return taken;
}

/// The attributes of a tag: NAME=VALUE or NAME="VALUE", separated by commas.
Attributes attributesIn(std::string_view list) {
    Attributes attributes;
    while (!list.empty()) {
        const std::string_view name = takeUntil(list, '=');
        const bool quoted = list.starts_with('"');
        if (quoted)
            list.remove_prefix(1);
        attributes.emplace(name, takeUntil(list, quoted ? '"' : ','));
        if (quoted && list.starts_with(','))
            list.remove_prefix(1);
    }
    return attributes;
}

std::string_view valueOf(const Attributes& attributes, std::string_view name) {
    const auto found = attributes.find(name);
    return found == attributes.end() ? "" : found->second;
}

/// Whether a list of codecs names audio codecs only.
bool areAudio(std::string_view codecs) {
    if (codecs.empty())
        return false;
    while (!codecs.empty()) {
        const std::string_view codec = takeUntil(codecs, ',');
        bool audio = false;
        for (const char* known : {"mp4a", "ac-3", "ec-3", "opus", "Opus", "fLaC", "flac"})
            audio = audio || codec.substr(std::min(codec.find_first_not_of(' '), codec.size())).starts_with(known);
        if (!audio)
            return false;
    }
    return true;
}

/// The height in the attributes of a variant; 0 for sound, without a value if it is not known.
std::optional<int> heightIn(const Attributes& attributes) {
    std::string_view resolution = valueOf(attributes, "RESOLUTION");
    takeUntil(resolution, 'x');
    int height = 0;
    const char* const end = resolution.data() + resolution.size();
    const auto [rest, error] = std::from_chars(resolution.data(), end, height);
    if (error == std::errc() && rest == end && height > 0)
        return height;
    return areAudio(valueOf(attributes, "CODECS")) ? std::optional(0) : std::nullopt;
}

class HlsParser {
public:
    Playlist parse(std::string_view text) {
        while (!text.empty())
            readLine(takeUntil(text, '\n'));
        m_playlist.variants = byHeight(std::move(m_playlist.variants));
        return std::move(m_playlist);
    }

private:
    void readLine(std::string_view line) {
        line = line.substr(0, line.find_last_not_of(" \t\r") + 1);
        if (line.starts_with(kTag))
            readTag(line);
        else if (!line.empty() && !line.starts_with('#'))
            readReference(line);
    }

    void readTag(std::string_view line) {
        const std::string_view tag = takeUntil(line, ':');
        const Attributes attributes = attributesIn(line);
        if (tag == kVariantTag || tag == kRenditionTag)
            m_playlist.master = true;
        if (tag == kVariantTag)
            m_height = heightIn(attributes);
        const std::string_view reference = valueOf(attributes, "URI");
        if (!reference.empty())
            m_playlist.references.emplace_back(reference);
    }

    void readReference(std::string_view line) {
        m_playlist.references.emplace_back(line);
        if (m_height)
            m_playlist.variants.push_back({*m_height, std::string(line)});
        m_height.reset();
    }

    Playlist m_playlist;
    std::optional<int> m_height; ///< of the variant whose reference follows
};

} // namespace

std::optional<Playlist> parseHlsPlaylist(std::string_view text) {
    if (!text.starts_with(kHlsBeginning))
        return std::nullopt;
    return HlsParser().parse(text);
}

} // namespace velmora::desktop
