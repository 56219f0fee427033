// The interface of what plays media.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_ENGINE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_ENGINE_H

#include "service/media/address_look.h"
#include "service/media/media_location.h"
#include "service/protocol/result_code.h"

#include <memory>
#include <optional>
#include <stop_token>

namespace velmora::desktop {

/// The failure of what a stop request interrupted.
inline CommandFailure interruption() {
    return {ResultCode::Internal, "Interrupted: the object is given up"};
}

/// A medium that plays in real time until this is destroyed. One thread at a time.
class MediaPlayback {
public:
    virtual ~MediaPlayback() = default;

    /// Continues from exactly that position; returns when the first frames are ready.
    /// @param position seconds from the beginning.
    /// @throws CommandFailure, also when interrupted by the stop token.
    virtual void seek(double position, std::stop_token stop) = 0;

    /// The height of the video in lines; without a value when the medium has no video.
    virtual std::optional<int> videoHeight() const = 0;

    /// What is at the address of an http or https medium; empty for another one, or if nobody looked.
    virtual MediaAddress address() const { return {}; }
};

/// Opens and plays media. Any thread.
class MediaEngine {
public:
    virtual ~MediaEngine() = default;

    /// Opens and starts the medium; returns when the first frames are ready.
    /// @param position to start at, in seconds.
    /// @throws CommandFailure, also when interrupted by the stop token.
    virtual std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position,
                                                std::stop_token stop) = 0;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_MEDIA_ENGINE_H
