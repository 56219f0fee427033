#include "service/media/simulated_engine.h"

#include "service/protocol/result_code.h"

#include <fmt/format.h>

namespace velmora::desktop {

namespace {

class SimulatedPlayback final : public MediaPlayback {
public:
    void seek(double position, std::stop_token) override {
        if (position > SimulatedEngine::kDuration)
            throw CommandFailure(ResultCode::BadCommand, fmt::format("Position {:.3f} s is behind the end, {:.3f} s",
                                                                     position, SimulatedEngine::kDuration));
    }

    std::optional<int> videoHeight() const override { return SimulatedEngine::kHeight; }
};

} // namespace

std::unique_ptr<MediaPlayback> SimulatedEngine::open(const MediaLocation&, double position, std::stop_token stop) {
    auto playback = std::make_unique<SimulatedPlayback>();
    playback->seek(position, std::move(stop));
    return playback;
}

} // namespace velmora::desktop
