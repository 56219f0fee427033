// The service dies, hangs or is replaced: what played is lost, and the next start works.
#include "engine/session_test.h"

using namespace velmora;
using namespace velmora::engine_test;

namespace {

class LostService : public SessionTest {
protected:
    LostService() {
        m_options.limits.probeInterval = milliseconds(20);
        m_options.limits.probeAnswer = milliseconds(50);
    }
};

const std::string kGone = "service gone the media service has died or hangs";

TEST_F(LostService, IsReportedForEveryTitleThatWasOpened) {
    playing("film");
    startAdvertisement("ad");
    EXPECT_EQ(m_host.await("ad: "), "ad: local:ad");
    preload("next");
    EXPECT_EQ(m_host.await("next: "), "next: done");

    platform().endService();

    EXPECT_EQ(m_host.await("film is lost"), "film is lost: " + kGone);
    EXPECT_EQ(m_host.await("ad is lost"), "ad is lost: " + kGone);
    EXPECT_EQ(m_host.await("next is lost"), "next is lost: " + kGone);
}

TEST_F(LostService, FailsWhatIsPending) {
    platform().keepQuietOn("seek");
    platform().keepQuietOn("stop");
    const Title film = playing("film");
    seek(film, 1.0, "seek");
    seek(film, 2.0, "next seek");
    const Title advertisement = startAdvertisement("ad");
    EXPECT_EQ(m_host.await("ad: "), "ad: local:ad");
    stop(advertisement, "stop");
    platform().keepQuietOn("preload");
    preload("next");
    platform().await("preload");
    platform().await("stop");

    platform().endService();

    EXPECT_EQ(m_host.await("seek: "), "seek: " + kGone);
    EXPECT_EQ(m_host.await("next seek: "), "next seek: " + kGone);
    EXPECT_EQ(m_host.await("stop: "), "stop: " + kGone);
    EXPECT_EQ(m_host.await("next: "), "next: " + kGone);
}

TEST_F(LostService, IsStartedAgainForTheNextTitle) {
    playing("film");
    platform().endService();
    EXPECT_EQ(m_host.await("film is lost"), "film is lost: " + kGone);

    playing("next");

    EXPECT_EQ(platform().serviceStarts(), 1);
    EXPECT_NE(platform().await("start", 2).object, platform().await("start", 1).object);
}

TEST_F(LostService, IsStartedWhenTheFirstTitleFindsNone) {
    platform().endService();

    playing("film");

    EXPECT_EQ(platform().serviceStarts(), 1);
}

TEST_F(LostService, ThatCannotBeStartedFailsTheStartInItsTime) {
    m_options.limits.creation = milliseconds(300);
    platform().endService();
    platform().preventStart();

    start("film");

    EXPECT_EQ(m_host.await("film: "), "film: service gone the media service does not answer");
    EXPECT_EQ(platform().serviceStarts(), 1);
}

// A service that was started anew meanwhile answers for itself, and does not know the object.
TEST_F(LostService, ThatWasReplacedIsNoticedByTheNextSeek) {
    const Title film = playing("film");
    platform().replaceService();

    seek(film, 1.0, "seek");

    EXPECT_EQ(m_host.await("seek: "), "seek: service gone 404 No such object");
    EXPECT_EQ(m_host.await("film is lost"), "film is lost: service gone 404 No such object");
}

TEST_F(LostService, ThatWasReplacedIsNoticedByTheNextStop) {
    const Title film = playing("film");
    platform().replaceService();

    stop(film, "stop");

    EXPECT_EQ(m_host.await("stop: "), "stop: service gone 404 No such object");
}

TEST_F(LostService, ThatWasReplacedTakesTheNextTitleOnANewObject) {
    m_options.limits.reuse = milliseconds(0);
    stop(playing("film"), "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    m_host.runFor(milliseconds(20));
    platform().replaceService();

    playing("next");

    EXPECT_EQ(platform().await("start", 2).object, platform().await("start", 1).object);
    EXPECT_NE(platform().await("start", 3).object, platform().await("start", 1).object);
}

TEST_F(LostService, IsNotAskedForASignOfLifeWithoutATitle) {
    stop(playing("film"), "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    m_host.runFor(milliseconds(50));
    const std::size_t asked = platform().commands("inspect").size();

    m_host.runFor(milliseconds(100));

    EXPECT_EQ(platform().commands("inspect").size(), asked);
}

TEST_F(LostService, IsNotAskedWhileItAnswersOthers) {
    m_options.limits.probeInterval = milliseconds(200);
    playing("film");
    for (int i = 0; i < 30; ++i) {
        platform().send({"status", "200", "ses-of-another", ""});
        m_host.runFor(milliseconds(20));
    }

    EXPECT_LE(platform().commands("inspect").size(), 1U) << "one at most, on a busy machine";
}

// The question that the dead service did not answer says nothing of the objects that a new one has made since.
TEST_F(LostService, DoesNotTakeItsSuccessorsTitlesAway) {
    m_options.limits.probeAnswer = milliseconds(400);
    m_options.limits.probeInterval = milliseconds(1);
    const Title first = playing("first");
    platform().keepQuietOn("inspect");
    platform().await("inspect", platform().commands("inspect").size() + 1);
    platform().endService();
    stop(first, "stop");

    playing("second");
    platform().answerProperly("inspect");

    EXPECT_EQ(m_host.await("stop: "), "stop: " + kGone) << "the question's time is over";
    m_host.runFor(milliseconds(20));
    EXPECT_EQ(m_host.lines(), (Lines{"first: local:first", "second: local:second", "stop: " + kGone}));
}

} // namespace
