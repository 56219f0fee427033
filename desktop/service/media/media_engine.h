#ifndef ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_ENGINE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_ENGINE_H

#include "service/media/media_location.h"

#include <memory>
#include <optional>
#include <stop_token>

namespace velmora::desktop {

/// A medium that plays in real time until it is destroyed. Used by one thread at a time.
class MediaPlayback {
public:
    virtual ~MediaPlayback() = default;

    /// Goes on from exactly there; returns when the first frames are ready.
    /// @param position seconds from the beginning.
    /// @throws CommandFailure; also soon after a stop is requested.
    virtual void seek(double position, std::stop_token stop) = 0;

    /// Lines of the video; empty without video.
    virtual std::optional<int> videoHeight() const = 0;
};

/// What opens and plays media. Any thread.
class MediaEngine {
public:
    virtual ~MediaEngine() = default;

    /// Opens the medium and has it play; returns when the first frames are ready.
    /// @param position where to begin, in seconds.
    /// @throws CommandFailure; also soon after a stop is requested.
    virtual std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position,
                                                std::stop_token stop) = 0;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_ENGINE_H
