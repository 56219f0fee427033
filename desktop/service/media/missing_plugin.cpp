#include "service/media/missing_plugin.h"

#include "service/media/gst_pointers.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace velmora::desktop {

namespace {

struct Provider {
    std::string_view caps;
    std::string_view package;
    std::string_view name = {}; ///< of a format of files
};

constexpr std::string_view kBase = "gstreamer1.0-plugins-base";
constexpr std::string_view kGood = "gstreamer1.0-plugins-good";
constexpr std::string_view kBad = "gstreamer1.0-plugins-bad";
constexpr std::string_view kUgly = "gstreamer1.0-plugins-ugly";
constexpr std::string_view kLibav = "gstreamer1.0-libav";

/// The Debian packages of the formats in docs/formats.md, and some more.
constexpr std::array kProviders{
    Provider{"application/ogg", kBase, "Ogg"},
    Provider{"audio/x-vorbis", kBase},
    Provider{"audio/x-opus", kBase},
    Provider{"video/x-theora", kBase},
    Provider{"video/webm", kGood, "WebM"},
    Provider{"audio/webm", kGood, "WebM"},
    Provider{"video/x-matroska", kGood, "Matroska"},
    Provider{"audio/x-matroska", kGood, "Matroska"},
    Provider{"video/quicktime", kGood, "MP4"},
    Provider{"audio/x-m4a", kGood, "MP4"},
    Provider{"video/x-msvideo", kGood, "AVI"},
    Provider{"video/x-flv", kGood, "Flash Video"},
    Provider{"video/x-vp8", kGood},
    Provider{"video/x-vp9", kGood},
    Provider{"audio/x-wav", kGood, "WAV"},
    Provider{"audio/x-flac", kGood, "FLAC"},
    Provider{"application/x-hls", kBad, "HLS"},
    Provider{"application/dash+xml", kBad, "DASH"},
    Provider{"video/mpegts", kBad, "MPEG-TS"},
    Provider{"video/x-av1", kBad},
    Provider{"audio/x-dts", kBad},
    Provider{"video/x-ms-asf", kUgly, "ASF"},
    Provider{"video/x-h264", kLibav},
    Provider{"video/x-h265", kLibav},
    Provider{"video/x-divx", kLibav},
    Provider{"audio/x-ac3", kLibav},
    Provider{"audio/x-eac3", kLibav},
};

int intIn(const GstStructure* structure, const char* name) {
    int value = 0;
    gst_structure_get_int(structure, name, &value);
    return value;
}

const Provider* providerOf(const GstStructure* format) {
    const auto* const provider =
        std::ranges::find(kProviders, std::string_view(gst_structure_get_name(format)), &Provider::caps);
    return provider == kProviders.end() ? nullptr : provider;
}

/// Empty if it is not known.
std::string_view packageFor(const GstStructure* format) {
    if (gst_structure_has_name(format, "audio/mpeg") != FALSE) // MP3, or AAC
        return intIn(format, "mpegversion") == 1 ? kGood : kLibav;
    if (gst_structure_has_name(format, "video/mpeg") != FALSE) {
        gboolean stream = FALSE;
        gst_structure_get_boolean(format, "systemstream", &stream);
        return stream != FALSE ? kBad : kLibav;
    }
    const Provider* const provider = providerOf(format);
    return provider == nullptr ? "" : provider->package;
}

/// "Matroska", or "video/x-nobody-knows"
std::string nameOf(const GstStructure* format) {
    const Provider* const provider = providerOf(format);
    const bool isNamed = provider != nullptr && !provider->name.empty();
    return isNamed ? std::string(provider->name) : gst_structure_get_name(format);
}

/// "Matroska demuxer", or as GStreamer describes it: "H.264 (Main Profile) decoder"
std::string descriptionOf(const GstStructure* plugin, const GstStructure* format) {
    const Provider* const provider = providerOf(format);
    if (provider != nullptr && !provider->name.empty())
        return fmt::format("{} demuxer", provider->name);
    return gst_structure_get_string(plugin, "name");
}

} // namespace

// The structure of the message is documented with GStreamer's library for such messages, whose development files bring
// a desktop's worth of packages.
std::string missingPlugin(GstMessage* message) {
    const GstStructure* const plugin = gst_message_get_structure(message);
    if (plugin == nullptr || gst_structure_has_name(plugin, "missing-plugin") == FALSE)
        return "";
    GstCaps* caps = nullptr;
    gst_structure_get(plugin, "detail", GST_TYPE_CAPS, &caps, nullptr);
    if (caps == nullptr) // an element, whose name is all that there is
        return gst_structure_get_string(plugin, "name");
    const Owned<GstCaps> owned(caps);
    const GstStructure* const format = gst_caps_get_structure(caps, 0);
    const std::string what = descriptionOf(plugin, format);
    const std::string_view package = packageFor(format);
    return package.empty() ? what : fmt::format("{} (Debian package {})", what, package);
}

std::string fileFormat(GstElement* pipeline) {
    const Owned<GstIterator> finders(gst_bin_iterate_all_by_element_factory_name(GST_BIN(pipeline), "typefind"));
    GValue item = G_VALUE_INIT;
    std::string format;
    if (gst_iterator_next(finders.get(), &item) != GST_ITERATOR_OK)
        return format;
    GstCaps* caps = nullptr;
    g_object_get(g_value_get_object(&item), "caps", &caps, nullptr);
    g_value_unset(&item);
    const Owned<GstCaps> owned(caps);
    if (caps != nullptr)
        format = nameOf(gst_caps_get_structure(caps, 0));
    return format;
}

} // namespace velmora::desktop
