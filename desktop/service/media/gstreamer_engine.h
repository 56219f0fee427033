#ifndef ZUV_DESKTOP_SERVICE_MEDIA_GSTREAMER_ENGINE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_GSTREAMER_ENGINE_H

#include "service/media/media_engine.h"

#include <chrono>

namespace velmora::desktop {

/// Plays media with GStreamer: everything is decoded in real time, and shown and heard nowhere.
/// gst_init() comes first.
class GstreamerEngine final : public MediaEngine {
public:
    /// @param openTimeout after which opening or seeking a medium that does not get ready counts as failed.
    explicit GstreamerEngine(std::chrono::milliseconds openTimeout) : m_openTimeout(openTimeout) {}

    std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position, std::stop_token stop) override;

private:
    std::chrono::milliseconds m_openTimeout;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_GSTREAMER_ENGINE_H
