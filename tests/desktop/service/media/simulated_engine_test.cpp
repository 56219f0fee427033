#include "service/media/simulated_engine.h"
#include "service/protocol/result_code.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

const MediaLocation kNowhere{"http://127.0.0.1:1/film.webm", {}};

std::unique_ptr<MediaPlayback> openAt(double position) {
    return SimulatedEngine().open(kNowhere, position, {});
}

TEST(SimulatedEngine, OpensWhatItCannotReach) {
    EXPECT_NE(openAt(0), nullptr);
}

TEST(SimulatedEngine, HasVideoOfKnownHeight) {
    EXPECT_EQ(openAt(0)->videoHeight(), 240);
}

TEST(SimulatedEngine, SeeksUpToTheEnd) {
    const auto playback = openAt(3600);
    EXPECT_NO_THROW(playback->seek(0, {}));
    EXPECT_NO_THROW(playback->seek(3600, {}));
}

TEST(SimulatedEngine, RefusesAPositionBehindTheEnd) {
    const auto playback = openAt(0);
    try {
        playback->seek(3600.5, {});
        FAIL() << "it was sought";
    } catch (const CommandFailure& failure) {
        EXPECT_EQ(failure.code(), ResultCode::BadCommand);
        EXPECT_STREQ(failure.what(), "Position 3600.500 s is behind the end, 3600.000 s");
    }
    EXPECT_THROW(openAt(3600.5), CommandFailure);
}

} // namespace
} // namespace velmora::desktop
