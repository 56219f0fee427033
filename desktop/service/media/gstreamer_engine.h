// The engine that plays media with GStreamer.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_GSTREAMER_ENGINE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_GSTREAMER_ENGINE_H

#include "service/media/media_engine.h"

#include <chrono>

namespace velmora::desktop {

/// Plays media with GStreamer: decodes them in real time without output. gst_init() must have been called.
class GstreamerEngine final : public MediaEngine {
public:
    /// @param openTimeout the time after which opening or seeking a medium fails.
    explicit GstreamerEngine(std::chrono::milliseconds openTimeout) : m_openTimeout(openTimeout) {}

    std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position, std::stop_token stop) override;

private:
    std::chrono::milliseconds m_openTimeout;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_GSTREAMER_ENGINE_H
