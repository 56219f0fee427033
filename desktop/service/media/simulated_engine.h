#ifndef ZUV_DESKTOP_SERVICE_MEDIA_SIMULATED_ENGINE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_SIMULATED_ENGINE_H

#include "service/media/media_engine.h"

namespace velmora::desktop {

/// Plays every medium without looking at it: a video of known size and duration, that is open and sought at
/// once. What it answers depends on nothing but what it was asked.
class SimulatedEngine final : public MediaEngine {
public:
    static constexpr int kHeight = 240;         ///< lines of every video
    static constexpr double kDuration = 3600.0; ///< seconds of every medium

    std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position, std::stop_token stop) override;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_SIMULATED_ENGINE_H
