// Plugins that GStreamer lacks for a medium, and the Debian packages that have them.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_MISSING_PLUGIN_H
#define ZUV_DESKTOP_SERVICE_MEDIA_MISSING_PLUGIN_H

#include <gst/gst.h>

#include <string>

namespace velmora::desktop {

/// What a message says that GStreamer lacks: "H.264 (Main Profile) decoder (Debian package gstreamer1.0-libav)". Empty
/// if the message says nothing of the kind.
std::string missingPlugin(GstMessage* message);

/// The format of the file that a pipeline has opened: "MP4"; empty as long as it is not known.
std::string fileFormat(GstElement* pipeline);

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_MISSING_PLUGIN_H
