#include "service/media/dash_manifest.h"

#include <pugixml.hpp>

#include <array>
#include <string>

namespace velmora::desktop {

namespace {

/// From the outermost element to the innermost: MPD, Period, AdaptationSet, Representation.
using Levels = std::array<pugi::xml_node, 4>;

bool isAbsolute(const std::string& reference) {
    return reference.starts_with('/') || reference.substr(0, reference.find('/')).find(':') != std::string::npos;
}

std::string joined(const std::string& base, const std::string& reference) {
    if (reference.empty())
        return base;
    return isAbsolute(reference) ? reference : base.substr(0, base.rfind('/') + 1) + reference;
}

/// What the references of a representation are relative to.
std::string baseOf(const Levels& levels) {
    std::string base;
    for (const pugi::xml_node& level : levels)
        base = joined(base, level.child_value("BaseURL"));
    return base;
}

/// The text between two dollar signs of a template, replaced.
std::string replacement(const std::string& identifier, const pugi::xml_node& representation) {
    const std::string name = identifier.substr(0, identifier.find('%'));
    if (name.empty())
        return "$";
    if (name == "RepresentationID")
        return representation.attribute("id").value();
    return {kAnyNumber}; // Number, Time, Bandwidth, SubNumber
}

std::string filledIn(const std::string& pattern, const pugi::xml_node& representation) {
    std::string result;
    for (std::size_t position = 0; position < pattern.size();) {
        const std::size_t opening = pattern.find('$', position);
        const std::size_t closing = opening == std::string::npos ? opening : pattern.find('$', opening + 1);
        if (closing == std::string::npos)
            return result + pattern.substr(position);
        result += pattern.substr(position, opening - position);
        result += replacement(pattern.substr(opening + 1, closing - opening - 1), representation);
        position = closing + 1;
    }
    return result;
}

class DashParser {
public:
    std::optional<Playlist> parse(std::string_view text) {
        pugi::xml_document document;
        if (!document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_trim_pcdata))
            return std::nullopt;
        const pugi::xml_node manifest = document.child("MPD");
        if (!manifest)
            return std::nullopt;
        for (const pugi::xml_node& period : manifest.children("Period"))
            for (const pugi::xml_node& adaptationSet : period.children("AdaptationSet"))
                for (const pugi::xml_node& representation : adaptationSet.children("Representation"))
                    read({manifest, period, adaptationSet, representation});
        m_playlist.variants = byHeight(std::move(m_playlist.variants));
        return std::move(m_playlist);
    }

private:
    void read(const Levels& levels) {
        addVariant(levels);
        const std::string base = baseOf(levels);
        addFile(base);
        for (const pugi::xml_node& level : levels) {
            for (const char* name : {"media", "initialization", "index", "bitstreamSwitching"})
                add(base, filledIn(level.child("SegmentTemplate").attribute(name).value(), levels.back()));
            for (const char* holder : {"SegmentBase", "SegmentList", "SegmentTemplate"})
                readSegments(base, level.child(holder));
        }
    }

    void readSegments(const std::string& base, const pugi::xml_node& holder) {
        for (const char* name : {"Initialization", "RepresentationIndex", "BitstreamSwitching"})
            add(base, holder.child(name).attribute("sourceURL").value());
        for (const pugi::xml_node& segment : holder.children("SegmentURL")) {
            add(base, segment.attribute("media").value());
            add(base, segment.attribute("index").value());
        }
    }

    void add(const std::string& base, const std::string& reference) {
        if (!reference.empty())
            addFile(joined(base, reference));
    }

    void addFile(const std::string& reference) {
        if (!reference.empty() && !reference.ends_with('/'))
            m_playlist.references.push_back(reference);
    }

    void addVariant(const Levels& levels) {
        for (const pugi::xml_node& level : {levels[3], levels[2]})
            if (const int height = level.attribute("height").as_int(); height > 0)
                return m_playlist.variants.push_back({height, ""});
    }

    Playlist m_playlist;
};

} // namespace

std::optional<Playlist> parseDashManifest(std::string_view text) {
    return DashParser().parse(text);
}

} // namespace velmora::desktop
