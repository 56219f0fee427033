// Every request has one outcome.
#include "engine/session_test.h"
#include "support/loaded_library.h"

#include <chrono>
#include <thread>
#include <utility>

using namespace velmora;
using namespace velmora::engine_test;

namespace {

class Outcomes : public SessionTest {};

TEST_F(Outcomes, OfAStartIsTheLocalUrl) {
    start("film");

    EXPECT_EQ(m_host.await("film: "), "film: local:film");
    const Command command = platform().await("start");
    EXPECT_EQ(command.kind, "main_video");
    EXPECT_EQ(command.url, "film");
    EXPECT_EQ(command.option, "1");
}

TEST_F(Outcomes, OfAStartWithAnotherOption) {
    start("film", {.position = 0.0, .option = 7});

    EXPECT_EQ(m_host.await("film: "), "film: local:film");
    EXPECT_EQ(platform().await("start").option, "7");
}

TEST_F(Outcomes, OfAStartAtAPosition) {
    start("film", {.position = 12.5, .option = 1});

    EXPECT_EQ(m_host.await("film: "), "film: local:film");
    EXPECT_EQ(platform().await("preload").position, "12.500000");
    EXPECT_TRUE(platform().commands("start").empty());
}

TEST_F(Outcomes, OfASeekIsItsAcknowledgement) {
    const Title film = playing("film");

    session().seek(film, 90.0, {.text = "exact"}, m_host.done("seek"));

    EXPECT_EQ(m_host.await("seek: "), "seek: done");
    EXPECT_EQ(platform().await("seek").position, "90.000000");
    EXPECT_EQ(platform().await("seek").url, "exact");
}

TEST_F(Outcomes, OfAStopIsItsAcknowledgement) {
    const Title film = playing("film");

    stop(film, "stop");

    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    EXPECT_EQ(platform().await("stop").kind, "main_video");
}

/// What the service answers, and the error that it means.
struct Refusal {
    std::string name;
    std::string code;
    std::string outcome;
};

class Refusals : public Outcomes, public ::testing::WithParamInterface<Refusal> {};

TEST_P(Refusals, OfAStart) {
    platform().answerWith("start", GetParam().code, "because");

    start("film");

    EXPECT_EQ(m_host.await("film: "), "film: " + GetParam().outcome + " because");
}

INSTANTIATE_TEST_SUITE_P(Codes, Refusals,
                         ::testing::Values(Refusal{"Missing", "404", "not found 404"},
                                           Refusal{"Unplayable", "415", "unplayable 415"},
                                           Refusal{"BadCommand", "400", "refused 400"},
                                           Refusal{"Internal", "500", "refused 500"},
                                           Refusal{"Unknown", "299", "refused 299"}),
                         [](const auto& refusal) { return refusal.param.name; });

TEST_F(Outcomes, OfAStartWithoutALocalUrlIsAnError) {
    platform().keepQuietOn("start");
    start("film");
    const Command command = platform().await("start");

    platform().send({"started", "200", command.request, command.object});

    EXPECT_EQ(m_host.await("film: "), "film: refused the service has named no local URL");
}

TEST_F(Outcomes, OfACreationThatTheServiceRefuses) {
    platform().answerWith("create", "500", "no more objects");

    start("film");

    EXPECT_EQ(m_host.await("film: "), "film: refused 500 no more objects");
}

TEST_F(Outcomes, OfACreationWithoutAnObjectIsAnError) {
    platform().keepQuietOn("create");
    start("film");

    platform().send({"created", "200", platform().await("create").request, ""});

    EXPECT_EQ(m_host.await("film: "), "film: refused the service has named no object");
}

TEST_F(Outcomes, OfASeekThatTheServiceRefuses) {
    const Title film = playing("film");
    platform().answerWith("seek", "400", "beyond the end");

    seek(film, 9000.0, "seek");

    EXPECT_EQ(m_host.await("seek: "), "seek: refused 400 beyond the end");
}

TEST_F(Outcomes, OfAStartWithTheOptionOfPreloadsIsAnError) {
    start("film", {.position = 0.0, .option = 0});

    EXPECT_EQ(m_host.await("film: "), "film: refused option 0 is what startPreloaded() sends");
}

TEST_F(Outcomes, OfAnUnansweredStartIsATimeOut) {
    m_options.limits.start = milliseconds(100);
    platform().keepQuietOn("start");

    start("film");

    EXPECT_EQ(m_host.await("film: "), "film: timed out the media service did not answer in time");
    EXPECT_EQ(platform().await("stop").object, platform().await("start").object) << "it could start late";
}

TEST_F(Outcomes, OfAnUnansweredPreloadIsATimeOutAlsoOfItsStart) {
    m_options.limits.start = milliseconds(100);
    platform().keepQuietOn("preload");

    session().startPreloaded(preload("film"), m_host.started("start"));

    EXPECT_EQ(m_host.await("film: "), "film: timed out the media service did not answer in time");
    EXPECT_EQ(m_host.await("start: "), "start: timed out the title was not opened in time");
}

TEST_F(Outcomes, OfAnUnansweredSeekIsATimeOutAndTheTitleGoesOn) {
    m_options.limits.seek = milliseconds(100);
    const Title film = playing("film");
    platform().keepQuietOn("seek");
    seek(film, 1.0, "first");
    EXPECT_EQ(m_host.await("first: "), "first: timed out the media service did not answer in time");
    platform().answerProperly("seek");

    seek(film, 2.0, "second");

    EXPECT_EQ(m_host.await("second: "), "second: done");
}

TEST_F(Outcomes, OfAnUnansweredStopIsATimeOut) {
    m_options.limits.stop = milliseconds(100);
    const Title film = playing("film");
    platform().keepQuietOn("stop");

    stop(film, "stop");

    EXPECT_EQ(m_host.await("stop: "), "stop: timed out the media service did not answer in time");
}

TEST_F(Outcomes, OfRequestsForATitleThatHasEndedAreCancelled) {
    const Title film = playing("film");
    stop(film, "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: done");

    seek(film, 1.0, "seek");
    stop(film, "again");
    session().startPreloaded(film, m_host.started("start"));

    EXPECT_EQ(m_host.await("seek: "), "seek: cancelled the title has ended");
    EXPECT_EQ(m_host.await("again: "), "again: cancelled the title has ended");
    EXPECT_EQ(m_host.await("start: "), "start: cancelled the title has ended");
}

TEST_F(Outcomes, AreNotAskedForByEmptyCompletions) {
    const Title film = session().start("film", {}, nullptr);
    session().seek(film, 1.0, {}, nullptr);
    session().stop(film, nullptr);

    playing("other");
    EXPECT_EQ(m_host.lines(), (Lines{"other: local:other"}));
}

/// The calls of a platform that hangs return when the test's patience is over.
class WithoutWaiting : public SessionTest {
protected:
    /// Makes every call of a session, and ends it, while no call of the platform returns.
    void useHangingPlatform() {
        platform().holdCalls();
        const auto begin = std::chrono::steady_clock::now();
        const Title film = start("film");
        seek(film, 1.0, "seek");
        startAdvertisement("ad");
        session().startPreloaded(preload("next"), m_host.started("next plays"));
        session().preloadAdvertisement("next ad", {}, m_host.done("next ad"));
        stop(film, "stop");
        m_session.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, kPatience / 2);
        platform().letCallsReturn();
    }
};

TEST_F(WithoutWaiting, ASessionIsMadeUsedAndEndedWhileThePlatformHangs) {
    useHangingPlatform();
}

TEST_F(WithoutWaiting, ASessionIsUsedAndEndedWhenThePlatformHangsLater) {
    playing("earlier film");

    useHangingPlatform();
}

/// What calls back, and how a test brings it about.
struct Callback {
    std::string name;
    std::function<void(MediaSession&, std::function<void()> call)> bringAbout;
};

class WhileACallbackRuns : public SessionTest, public ::testing::WithParamInterface<Callback> {
protected:
    /// Calls every operation on another thread, and waits until the session has begun to carry them out. With a lock
    /// held meanwhile, one of both would never end.
    void useSessionElsewhere() {
        const std::size_t created = platform().commands("create").size();
        std::thread([this] {
            const Title film = session().start("other film", {}, nullptr);
            session().seek(film, 1.0, {}, nullptr);
            session().startAdvertisement("other ad", {}, nullptr);
            session().startPreloaded(session().preload("other next", {}, nullptr), nullptr);
            session().preloadAdvertisement("other next ad", {}, nullptr);
            session().stop(film, nullptr);
            MediaSession(m_host.post(), {}, m_options).start("of another session", {}, nullptr);
        }).join();
        EXPECT_EQ(platform().await("create", created + 1).name, "create");
        m_host.add("used");
    }
};

TEST_P(WhileACallbackRuns, TheSessionIsUsedByAnotherThread) {
    m_options.limits.probeInterval = milliseconds(20);
    m_options.limits.probeAnswer = milliseconds(50);
    bool isFirst = true;
    const auto useOnce = [&] {
        if (std::exchange(isFirst, false))
            useSessionElsewhere();
    };
    m_session.emplace(
        m_host.post(),
        SessionObserver{[useOnce](Title, const auto&) { useOnce(); }, [useOnce](Title, const auto&) { useOnce(); }},
        m_options);

    GetParam().bringAbout(session(), useOnce);

    EXPECT_EQ(m_host.await("used"), "used");
}

const std::vector<Callback> kCallbacks = {
    {"OutcomeOfAStart",
     [](MediaSession& session, const std::function<void()>& call) {
         session.start("film", {}, [call](const Outcome<std::string>&) { call(); });
     }},
    {"OutcomeOfAStop",
     [](MediaSession& session, const std::function<void()>& call) {
         session.stop(session.start("film", {}, nullptr), [call](const Outcome<Acknowledged>&) { call(); });
     }},
    {"Definitions",
     [](MediaSession& session, const std::function<void()>&) {
         session.start("film", {}, nullptr);
         platform().send({"definition", "200", "", platform().await("start").object, "", "", "",
                          R"([{"definition": "240p", "url": "u"}])", "", "main_video", ""});
     }},
    {"Loss",
     [](MediaSession& session, const std::function<void()>&) {
         session.start("film", {}, [](const Outcome<std::string>&) { platform().endService(); });
     }},
};

INSTANTIATE_TEST_SUITE_P(, WhileACallbackRuns, ::testing::ValuesIn(kCallbacks),
                         [](const auto& callback) { return callback.param.name; });

// As in a program that is linked with the library.
TEST_F(Outcomes, ComeThroughTheLibraryThatIsLoadedAlready) {
    const LoadedLibrary library(ZUV_MEDIA_PROXY_LIBRARY);
    library.manager();
    m_options.library = SessionOptions().library;

    playing("film");

    EXPECT_EQ(platform().connections(), 2U) << "the library's and the session's";
}

TEST_F(Outcomes, SayThatThereIsNoLibrary) {
    m_options.library = "/nowhere/libzuv_media_proxy.so.1";

    start("film");

    EXPECT_TRUE(m_host.await("film: ").starts_with("film: service gone /nowhere/libzuv_media_proxy.so.1: cannot open"))
        << m_host.lines().at(0);
}

TEST_F(Outcomes, SayThatAnotherLibraryIsNotTheRightOne) {
    m_options.library = "libm.so.6";

    start("film");

    EXPECT_NE(m_host.await("film: service gone ").find("requestZUVMediaProxy"), std::string::npos);
}

TEST_F(Outcomes, SayThatThereIsNoBusUntilThereIsOne) {
    platform().provideBus(false);
    start("film");
    EXPECT_EQ(m_host.await("film: "), "film: service gone there is no bus");
    platform().provideBus(true);

    playing("next");
}

/// Requests of the test's own thread, whose calls must not wait for anything.
TEST_F(Outcomes, AreNotWaitedForByTheCaller) {
    platform().keepQuietOn("create");
    const auto begin = std::chrono::steady_clock::now();

    const Title film = start("film");
    seek(film, 1.0, "seek");
    stop(film, "stop");

    EXPECT_LT(std::chrono::steady_clock::now() - begin, milliseconds(100)) << "a creation alone takes 200 ms";
    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    EXPECT_EQ(m_host.lines(),
              (Lines{"film: cancelled the title was stopped", "seek: cancelled the title was stopped", "stop: done"}));
}

TEST_F(Outcomes, ComeOnTheThreadOfTheLoop) {
    std::thread::id thread;

    session().start("film", {}, [&](const Outcome<std::string>&) { thread = std::this_thread::get_id(); });

    EXPECT_TRUE(m_host.await([&] { return thread == std::this_thread::get_id(); }));
}

} // namespace
