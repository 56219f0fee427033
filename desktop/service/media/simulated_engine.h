// An engine that pretends to play, for tests and scenarios.
#ifndef ZUV_DESKTOP_SERVICE_MEDIA_SIMULATED_ENGINE_H
#define ZUV_DESKTOP_SERVICE_MEDIA_SIMULATED_ENGINE_H

#include "service/media/media_engine.h"

namespace velmora::desktop {

/// Pretends to play media, without reading them: every medium is a video of the same size and duration that opens and
/// seeks immediately. Its results depend only on its arguments.
class SimulatedEngine final : public MediaEngine {
public:
    static constexpr int kHeight = 240;         ///< of every video, in lines
    static constexpr double kDuration = 3600.0; ///< of every medium, in seconds

    std::unique_ptr<MediaPlayback> open(const MediaLocation& location, double position, std::stop_token stop) override;
};

} // namespace velmora::desktop

#endif // ZUV_DESKTOP_SERVICE_MEDIA_SIMULATED_ENGINE_H
