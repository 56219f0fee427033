// Titles do not mix: what is said of one never reaches another.
#include "engine/session_test.h"

using namespace velmora;
using namespace velmora::engine_test;

namespace {

const std::string kTexts = R"([{"definition": "240p", "url": "u240"}, {"definition": "720p", "url": "u720"}])";

void announce(const std::string& object, const std::string& definitions) {
    platform().send({"definition", "200", "", object, "", "", "", definitions, "", "main_video", ""});
}

class Titles : public SessionTest {
protected:
    Titles() { m_options.limits.reuse = milliseconds(0); }
};

TEST_F(Titles, OnlyTheLastOfStartStopStartIsDelivered) {
    platform().keepQuietOn("start");
    const Title title = start("first");
    const Command first = platform().await("start", 1);
    stop(title, "stop");
    start("second");
    const Command second = platform().await("start", 2);

    platform().answer(first);
    platform().answer(second);

    EXPECT_EQ(m_host.await("second: "), "second: local:second");
    EXPECT_EQ(m_host.lines(), (Lines{"first: cancelled the title was stopped", "stop: done", "second: local:second"}));
    EXPECT_NE(first.object, second.object);
}

TEST_F(Titles, AStartTakesThePlaceOfTheOneThatIsUnderWay) {
    platform().keepQuietOn("start");
    start("first");
    const Command first = platform().await("start", 1);
    start("second");
    const Command second = platform().await("start", 2);

    platform().answer(second);
    platform().answer(first);

    EXPECT_EQ(m_host.await("second: "), "second: local:second");
    EXPECT_EQ(m_host.lines(), (Lines{"first: cancelled another title has taken its place", "second: local:second"}));
    EXPECT_EQ(platform().await("stop").object, first.object);
}

TEST_F(Titles, APreloadTakesThePlaceOfTheOneThatIsUnderWay) {
    platform().keepQuietOn("preload");
    preload("first");
    const Command first = platform().await("preload", 1);
    preload("second");
    const Command second = platform().await("preload", 2);

    platform().answer(first);
    platform().answer(second);

    EXPECT_EQ(m_host.await("second: "), "second: done");
    EXPECT_EQ(m_host.lines(), (Lines{"first: cancelled another title has taken its place", "second: done"}));
    EXPECT_NE(first.object, second.object);
}

TEST_F(Titles, ALateFailureOfATitleThatHasGoneReachesNobody) {
    platform().keepQuietOn("start");
    start("first");
    const Command first = platform().await("start", 1);
    start("second");
    const Command second = platform().await("start", 2);

    platform().send({"started", "404", first.request, first.object, "", "", "", "", "missing", first.kind, ""});
    platform().answer(second);

    EXPECT_EQ(m_host.await("second: "), "second: local:second");
    EXPECT_EQ(m_host.lines(), (Lines{"first: cancelled another title has taken its place", "second: local:second"}));
}

TEST_F(Titles, AStartTakesThePlaceOfTheOneThatPlays) {
    playing("first");
    const std::string first = platform().await("start").object;

    playing("second");

    EXPECT_EQ(platform().await("stop").object, first);
    EXPECT_NE(platform().await("start", 2).object, first);
}

TEST_F(Titles, AnAdvertisementInAFilmTakesNothingAwayFromIt) {
    const Title film = playing("film");

    const Title advertisement = startAdvertisement("ad");
    EXPECT_EQ(m_host.await("ad: "), "ad: local:ad");
    stop(advertisement, "ad's end");
    EXPECT_EQ(m_host.await("ad's end: "), "ad's end: done");

    seek(film, 1.0, "seek");
    EXPECT_EQ(m_host.await("seek: "), "seek: done");
    EXPECT_EQ(platform().await("start", 2).kind, "advertisement");
    EXPECT_EQ(platform().await("stop").kind, "advertisement");
    EXPECT_EQ(platform().commands("stop").size(), 1U);
    EXPECT_EQ(platform().await("seek").object, platform().await("start", 1).object);
}

TEST_F(Titles, AnAdvertisementThatIsAnsweredFirstTakesNothingAwayFromTheFilm) {
    platform().keepQuietOn("start");
    start("film");
    const Command film = platform().await("start", 1);
    startAdvertisement("ad");
    const Command advertisement = platform().await("start", 2);

    platform().answer(advertisement);
    platform().answer(film);

    EXPECT_EQ(m_host.await("film: "), "film: local:film");
    EXPECT_EQ(m_host.lines(), (Lines{"ad: local:ad", "film: local:film"}));
}

TEST_F(Titles, AnAdvertisementBeforeAFilmTakesNothingAwayFromIt) {
    const Title advertisement = startAdvertisement("ad");
    EXPECT_EQ(m_host.await("ad: "), "ad: local:ad");

    const Title film = playing("film");
    stop(advertisement, "ad's end");

    EXPECT_EQ(m_host.await("ad's end: "), "ad's end: done");
    seek(film, 1.0, "seek");
    EXPECT_EQ(m_host.await("seek: "), "seek: done");
}

TEST_F(Titles, AnAdvertisementAfterAFilmIsDelivered) {
    stop(playing("film"), "stop");
    startAdvertisement("ad");

    EXPECT_EQ(m_host.await("ad: "), "ad: local:ad");
}

TEST_F(Titles, AnAdvertisementCannotBeSoughtNorStartedElsewhere) {
    seek(startAdvertisement("ad"), 1.0, "seek");
    session().startAdvertisement("later", {.position = 3.0, .option = 1}, m_host.started("later"));

    EXPECT_EQ(m_host.await("seek: "), "seek: refused an advertisement cannot be sought");
    EXPECT_EQ(m_host.await("later: "), "later: refused an advertisement starts at its beginning");
}

TEST_F(Titles, APreloadDoesNotDisturbWhatPlays) {
    const Title film = playing("film");

    const Title next = preload("next", {.position = 2.5, .text2 = "two", .text3 = "three"});

    EXPECT_EQ(m_host.await("next: "), "next: done");
    const Command command = platform().await("preload");
    EXPECT_NE(command.object, platform().await("start").object);
    EXPECT_EQ(command.url + command.position + command.text2 + command.text3, "next2.500000twothree");
    seek(film, 1.0, "seek");
    EXPECT_EQ(m_host.await("seek: "), "seek: done");
    EXPECT_TRUE(platform().commands("stop").empty());

    session().startPreloaded(next, m_host.started("next plays"));

    EXPECT_EQ(m_host.await("next plays: "), "next plays: local:next");
    EXPECT_EQ(platform().await("stop").object, platform().await("start").object) << "its place is taken";
    EXPECT_EQ(platform().commands("start").size(), 1U) << "the preload has started it";
    seek(next, 1.0, "seek of next");
    EXPECT_EQ(m_host.await("seek of next: "), "seek of next: done");
}

TEST_F(Titles, AStartOfAPreloadedTitleWaitsForThePreload) {
    platform().keepQuietOn("preload");
    const Title film = preload("film");
    session().startPreloaded(film, m_host.started("start"));

    platform().answer(platform().await("preload"));

    EXPECT_EQ(m_host.await("start: "), "start: local:film");
    EXPECT_EQ(m_host.lines(), (Lines{"film: done", "start: local:film"}));
}

TEST_F(Titles, AStartOfATitleWhosePreloadFailsFailsWithIt) {
    platform().keepQuietOn("preload");
    const Title film = preload("film");
    session().startPreloaded(film, m_host.started("start"));
    const Command command = platform().await("preload");

    platform().send({"started", "415", command.request, command.object, "", "", "", "", "broken", command.kind, ""});

    EXPECT_EQ(m_host.await("start: "), "start: unplayable 415 broken");
    EXPECT_EQ(m_host.await("film: "), "film: unplayable 415 broken");
}

TEST_F(Titles, ATitleIsStartedOnce) {
    const Title film = preload("film");
    session().startPreloaded(film, m_host.started("start"));
    session().startPreloaded(film, m_host.started("again"));
    session().startPreloaded(startAdvertisement("ad"), m_host.started("ad again"));

    EXPECT_EQ(m_host.await("start: "), "start: local:film");
    EXPECT_EQ(m_host.await("again: "), "again: refused the title was started before");
    EXPECT_EQ(m_host.await("ad again: "), "ad again: refused the title was started before");
}

TEST_F(Titles, APreloadedAdvertisementIsStarted) {
    const Title advertisement = session().preloadAdvertisement("ad", {.text3 = "three"}, m_host.done("ad"));
    EXPECT_EQ(m_host.await("ad: "), "ad: done");
    EXPECT_EQ(platform().await("preload").kind, "advertisement");
    EXPECT_EQ(platform().await("preload").text3, "three");

    session().startPreloaded(advertisement, m_host.started("start"));

    EXPECT_EQ(m_host.await("start: "), "start: local:ad");
}

TEST_F(Titles, DefinitionsAreParsedAndFollowTheLocalUrl) {
    platform().keepQuietOn("start");
    start("film");
    const Command command = platform().await("start");
    announce(command.object, R"([{"definition": "audio", "url": "u"}])");
    announce(command.object, kTexts);

    platform().answer(command);

    EXPECT_EQ(m_host.await("film has "), "film has 240p u240 720p u720");
    EXPECT_EQ(m_host.lines(), (Lines{"film: local:film", "film has 240p u240 720p u720"}));
}

TEST_F(Titles, DefinitionsThatAreNoneAreNotDelivered) {
    playing("film");
    const std::string object = platform().await("start").object;
    for (const char* const text : {"", "this is no JSON", "{}", "[]", R"([1, {"definition": 2, "url": "u"}, null])"})
        announce(object, text);
    announce(object, std::string(1500, '[') + std::string(1500, ']'));

    announce(object, kTexts);

    EXPECT_EQ(m_host.await("film has "), "film has 240p u240 720p u720");
    EXPECT_EQ(m_host.lines().size(), 2U);
}

TEST_F(Titles, DefinitionsOfAPreloadedTitleWaitForItsStart) {
    const Title film = preload("film");
    EXPECT_EQ(m_host.await("film: "), "film: done");
    announce(platform().await("preload").object, kTexts);
    seek(film, 1.0, "seek");
    m_host.runFor(milliseconds(20));

    session().startPreloaded(film, m_host.started("start"));

    EXPECT_EQ(m_host.await("film has "), "film has 240p u240 720p u720");
    EXPECT_EQ(m_host.await("seek: "), "seek: done") << "it has waited, too";
    EXPECT_EQ(m_host.lines().at(1), "start: local:film");
}

TEST_F(Titles, DefinitionsOfATitleThatHasEndedAreNotDelivered) {
    m_options.limits.reuse = milliseconds(10000);
    stop(playing("first"), "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    playing("second");

    announce(platform().await("start", 1).object, kTexts);
    announce(platform().await("start", 2).object, R"([{"definition": "audio", "url": "u"}])");

    EXPECT_EQ(m_host.await("second has "), "second has audio u");
    EXPECT_EQ(m_host.lines(),
              (Lines{"first: local:first", "stop: done", "second: local:second", "second has audio u"}));
}

// Whether the rest of one title's object is over before the next title comes is a matter of luck.
TEST_F(Titles, AnObjectThatHasRestedIsUsedAgain) {
    int titles = 0;
    EXPECT_TRUE(m_host.await([&] {
        const std::string name = std::to_string(++titles);
        stop(playing(name), "stop of " + name);
        EXPECT_EQ(m_host.await("stop of " + name), "stop of " + name + ": done");
        return platform().commands("create").size() < platform().commands("start").size();
    }));

    std::set<std::string> objects;
    for (const Command& command : platform().commands("start"))
        objects.insert(command.object);
    EXPECT_EQ(objects.size(), platform().commands("create").size());
}

TEST_F(Titles, DefinitionsThatComeWhileAnObjectRestsReachNobody) {
    stop(playing("first"), "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    announce(platform().await("start").object, kTexts);

    playing("second");

    m_host.runFor(milliseconds(20));
    EXPECT_EQ(m_host.lines(), (Lines{"first: local:first", "stop: done", "second: local:second"}));
}

TEST_F(Titles, AnObjectThatOwesTheAnswerToASeekIsNotUsedAgain) {
    platform().keepQuietOn("seek");
    const Title film = playing("first");
    seek(film, 1.0, "seek");
    const Command command = platform().await("seek");
    stop(film, "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: done");
    m_host.runFor(milliseconds(20));

    const Title second = playing("second");
    seek(second, 2.0, "second seek");
    platform().await("seek", 2);
    platform().answer(command);

    m_host.runFor(milliseconds(20));
    EXPECT_EQ(m_host.lines(), (Lines{"first: local:first", "seek: cancelled the title was stopped", "stop: done",
                                     "second: local:second"}));
    EXPECT_NE(platform().await("start", 2).object, command.object);
}

TEST_F(Titles, AnObjectThatHasLeftACommandUnansweredIsNotUsedAgain) {
    m_options.limits.stop = milliseconds(20);
    platform().keepQuietOn("stop");
    stop(playing("first"), "stop");
    EXPECT_EQ(m_host.await("stop: "), "stop: timed out the media service did not answer in time");
    m_host.runFor(milliseconds(20));

    playing("second");

    EXPECT_NE(platform().await("start", 2).object, platform().await("start", 1).object);
}

TEST_F(Titles, SeeksThatWaitGiveWayToTheLatest) {
    const Title film = playing("film");
    platform().keepQuietOn("seek");
    seek(film, 1.0, "first");
    const Command first = platform().await("seek");
    seek(film, 2.0, "second");
    seek(film, 3.0, "third");
    EXPECT_EQ(m_host.await("second: "), "second: cancelled a later seek has taken its place");

    platform().answer(first);
    platform().answer(platform().await("seek", 2));

    EXPECT_EQ(m_host.await("third: "), "third: done");
    EXPECT_EQ(m_host.await("first: "), "first: done");
    EXPECT_EQ(platform().await("seek", 2).position, "3.000000");
}

TEST_F(Titles, ASeekWaitsForTheStart) {
    platform().keepQuietOn("start");
    seek(start("film"), 1.0, "seek");
    const Command command = platform().await("start");
    EXPECT_TRUE(platform().commands("seek").empty());

    platform().answer(command);

    EXPECT_EQ(m_host.await("seek: "), "seek: done");
    EXPECT_EQ(m_host.lines(), (Lines{"film: local:film", "seek: done"}));
}

TEST_F(Titles, AStopOfAStartThatFailsMeanwhileSucceeds) {
    platform().keepQuietOn("start");
    platform().keepQuietOn("stop");
    const Title film = start("film");
    const Command command = platform().await("start");
    stop(film, "stop");
    platform().await("stop");

    platform().send({"started", "404", command.request, command.object, "", "", "", "", "", command.kind, ""});
    platform().send({"stopped", "409", "", command.object, "", "", "", "", "not started", command.kind, ""});

    EXPECT_EQ(m_host.await("stop: "), "stop: done");
}

} // namespace
