#include "desktop/service/fake_engine.h"
#include "desktop/service/http/scripted_server.h"
#include "desktop/service/recording_sink.h"
#include "service/media_object.h"
#include "support/http_client.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <pthread.h>

#include <chrono>
#include <cstddef>
#include <system_error>
#include <thread>
#include <utility>

namespace velmora::desktop {
namespace {

class MediaObjectTest : public testing::Test {
protected:
    void post(CommandName name, const std::string& kind, const std::string& url = "",
              const std::string& position = "") {
        m_object.post({name, kind, "ses-" + std::to_string(++m_session), "obj-1", position, url});
    }

    Event answer(CommandName name, const std::string& kind, const std::string& url = "",
                 const std::string& position = "") {
        post(name, kind, url, position);
        return m_events.next();
    }

    /// Of the first medium.
    Json::Value definitions() {
        Json::Value list;
        EXPECT_TRUE(Json::Reader().parse(m_events.news(1).at(0).event.definitions, list));
        return list;
    }

    std::vector<std::string> definitionNames() {
        std::vector<std::string> names;
        for (const Json::Value& definition : definitions())
            names.push_back(definition["definition"].asString());
        return names;
    }

    TemporaryFolder m_folder;
    const std::string m_film = addFile(m_folder, "film.webm", "the film");
    const std::string m_other = addFile(m_folder, "other.webm", "another film");
    FakeEngine m_engine;
    RecordingSink m_events;
    MediaServer m_server;
    MediaObject m_object{"obj-1", {m_engine, m_server, m_events}};
    int m_session = 0;
};

constexpr const char* kMain = "main_video";
constexpr const char* kAd = "advertisement";

TEST_F(MediaObjectTest, StartOpensTheMediumAndServesIt) {
    const Event started = answer(CommandName::Start, kMain, m_film);
    EXPECT_EQ(started.name, "started");
    EXPECT_EQ(started.code, ResultCode::Ok);
    EXPECT_EQ(started.session, "ses-1");
    EXPECT_EQ(started.objectId, "obj-1");
    EXPECT_EQ(started.kind, kMain);
    EXPECT_EQ(fetch(started.localUrl).body, "the film");
    EXPECT_EQ(m_engine.journal(), std::vector<std::string>{"open film.webm at 0.000000"});
}

TEST_F(MediaObjectTest, SaysWhichCommandAnAnswerIsFor) {
    for (const CommandName name : {CommandName::Seek, CommandName::Preload, CommandName::Start, CommandName::Stop}) {
        answer(name, kMain, m_film, "1.000000");
        EXPECT_EQ(m_events.answeredCommand(), name);
    }
}

TEST_F(MediaObjectTest, StartIgnoresThePosition) {
    EXPECT_EQ(answer(CommandName::Start, kMain, m_film, "nonsense").code, ResultCode::Ok);
}

TEST_F(MediaObjectTest, PreloadStartsAtThePosition) {
    const Event started = answer(CommandName::Preload, kAd, m_film, "1.500000");
    EXPECT_EQ(started.name, "started");
    EXPECT_EQ(started.kind, kAd);
    EXPECT_EQ(fetch(started.localUrl).body, "the film");
    EXPECT_EQ(m_engine.journal(), std::vector<std::string>{"open film.webm at 1.500000"});
}

TEST_F(MediaObjectTest, StopEndsTheMediumAndItsUrl) {
    const std::string url = answer(CommandName::Start, kMain, m_film).localUrl;
    const Event stopped = answer(CommandName::Stop, kMain);
    EXPECT_EQ(stopped.name, "stopped");
    EXPECT_EQ(stopped.code, ResultCode::Ok);
    EXPECT_EQ(stopped.session, "ses-2");
    EXPECT_EQ(fetch(url).status, 404);
    EXPECT_EQ(m_engine.journal().back(), "end film.webm");
}

TEST_F(MediaObjectTest, SeekMovesTheMainVideo) {
    answer(CommandName::Start, kMain, m_film);
    answer(CommandName::Start, kAd, m_other);
    const Event seeked = answer(CommandName::Seek, kMain, "", "2.250000");
    EXPECT_EQ(seeked.name, "seeked");
    EXPECT_EQ(seeked.code, ResultCode::Ok);
    EXPECT_EQ(m_engine.journal().back(), "seek film.webm to 2.250000");
}

TEST_F(MediaObjectTest, KindsAreIndependent) {
    const std::string film = answer(CommandName::Start, kMain, m_film).localUrl;
    const std::string advertisement = answer(CommandName::Start, kAd, m_other).localUrl;
    EXPECT_NE(film, advertisement);
    answer(CommandName::Stop, kAd);
    EXPECT_EQ(fetch(advertisement).status, 404);
    EXPECT_EQ(fetch(film).body, "the film");
}

TEST_F(MediaObjectTest, StartReplacesWhatIsStarted) {
    const std::string before = answer(CommandName::Start, kMain, m_film).localUrl;
    const std::string after = answer(CommandName::Start, kMain, m_other).localUrl;
    EXPECT_NE(after, before);
    EXPECT_EQ(fetch(after).body, "another film");
    EXPECT_EQ(m_engine.journal().back(), "end film.webm");
}

TEST_F(MediaObjectTest, WhatWasReplacedIsServedUntilTheNextCommand) {
    const std::string first = answer(CommandName::Start, kMain, m_film).localUrl;
    const std::string second = answer(CommandName::Preload, kMain, m_other, "0.000000").localUrl;
    EXPECT_EQ(fetch(first).body, "the film");
    const std::string third = answer(CommandName::Preload, kMain, m_film, "0.000000").localUrl;
    EXPECT_EQ(fetch(first).status, 404);
    EXPECT_EQ(fetch(second).body, "another film");
    answer(CommandName::Start, kMain, m_film); // goes on with the third
    EXPECT_EQ(fetch(second).status, 404);
    EXPECT_EQ(fetch(third).body, "the film");
}

TEST_F(MediaObjectTest, WhatWasReplacedEndsWithAnyCommandThatSucceeds) {
    std::string replaced = answer(CommandName::Start, kMain, m_film).localUrl;
    std::string current = answer(CommandName::Start, kMain, m_other).localUrl;
    EXPECT_EQ(answer(CommandName::Stop, kAd).code, ResultCode::WrongState);
    EXPECT_EQ(fetch(replaced).status, 200);
    EXPECT_EQ(answer(CommandName::Seek, kMain, "", "1.000000").code, ResultCode::Ok);
    EXPECT_EQ(fetch(replaced).status, 404);
    replaced = std::exchange(current, answer(CommandName::Start, kMain, m_film).localUrl);
    EXPECT_EQ(fetch(replaced).status, 200);
    EXPECT_EQ(answer(CommandName::Stop, kMain).code, ResultCode::Ok);
    EXPECT_EQ(fetch(replaced).status, 404);
    EXPECT_EQ(fetch(current).status, 404);
}

TEST_F(MediaObjectTest, NewsOfWhatWasReplacedEnds) {
    answer(CommandName::Start, kMain, m_film);
    const auto subject = m_events.news(1).at(0).subject;
    answer(CommandName::Start, kMain, m_other);
    EXPECT_TRUE(subject.expired());
}

TEST_F(MediaObjectTest, StartGoesOnWithWhatWasPreloaded) {
    const Event preloaded = answer(CommandName::Preload, kMain, m_film, "1.500000");
    const Event started = answer(CommandName::Start, kMain, m_film);
    EXPECT_EQ(started.code, ResultCode::Ok);
    EXPECT_EQ(started.session, "ses-2");
    EXPECT_EQ(started.localUrl, preloaded.localUrl);
    EXPECT_EQ(m_engine.journal(), std::vector<std::string>{"open film.webm at 1.500000"});
    const auto news = m_events.news(2);
    EXPECT_EQ(news.at(1).event.definitions, news.at(0).event.definitions);
}

TEST_F(MediaObjectTest, APreloadServesForOneStart) {
    answer(CommandName::Preload, kMain, m_film, "1.500000");
    const Event first = answer(CommandName::Start, kMain, m_film);
    const Event second = answer(CommandName::Start, kMain, m_film);
    EXPECT_NE(second.localUrl, first.localUrl);
    EXPECT_EQ(m_engine.journal().at(1), "open film.webm at 0.000000");
}

TEST_F(MediaObjectTest, AStartWithoutUrlGoesOnWithNothing) {
    answer(CommandName::Start, kMain, m_film);
    EXPECT_EQ(answer(CommandName::Start, kMain, "").code, ResultCode::BadCommand);
}

TEST_F(MediaObjectTest, APreloadIsReplacedByAnotherAndByTheStartOfAnotherUrl) {
    const Event first = answer(CommandName::Preload, kMain, m_film, "1.500000");
    const Event second = answer(CommandName::Preload, kMain, m_film, "2.500000");
    EXPECT_NE(second.localUrl, first.localUrl);
    const Event started = answer(CommandName::Start, kMain, m_other);
    EXPECT_NE(started.localUrl, second.localUrl);
    EXPECT_EQ(fetch(started.localUrl).body, "another film");
    EXPECT_EQ(fetch(first.localUrl).status, 404);
}

TEST_F(MediaObjectTest, AFailedStartLeavesWhatIsStarted) {
    const std::string url = answer(CommandName::Start, kMain, m_film).localUrl;
    m_engine.failing = true;
    const Event failed = answer(CommandName::Start, kMain, m_other);
    EXPECT_EQ(failed.name, "started");
    EXPECT_EQ(failed.code, ResultCode::Unplayable);
    EXPECT_EQ(failed.detail, "It cannot be played");
    EXPECT_EQ(failed.localUrl, "");
    EXPECT_EQ(fetch(url).body, "the film");
}

TEST_F(MediaObjectTest, WhatIsIdleCannotBeStoppedOrSought) {
    const Event notStopped = answer(CommandName::Stop, kAd);
    EXPECT_EQ(notStopped.code, ResultCode::WrongState);
    EXPECT_EQ(notStopped.detail, "advertisement is not started");
    EXPECT_EQ(answer(CommandName::Seek, kMain, "", "1.000000").code, ResultCode::WrongState);
    answer(CommandName::Start, kMain, m_film);
    EXPECT_EQ(answer(CommandName::Stop, kMain).code, ResultCode::Ok);
    EXPECT_EQ(answer(CommandName::Stop, kMain).code, ResultCode::WrongState);
}

TEST_F(MediaObjectTest, BadArgumentsAreAnswered) {
    EXPECT_EQ(answer(CommandName::Start, "picture", m_film).code, ResultCode::BadCommand);
    EXPECT_EQ(answer(CommandName::Start, kMain, "nonsense").code, ResultCode::BadCommand);
    EXPECT_EQ(answer(CommandName::Start, kMain, "/no/such/film").code, ResultCode::NotFound);
    EXPECT_EQ(answer(CommandName::Preload, kMain, m_film, "nan").code, ResultCode::BadCommand);
    EXPECT_EQ(answer(CommandName::Seek, kMain, "", "-1.000000").code, ResultCode::BadCommand);
    EXPECT_EQ(answer(CommandName::Stop, "").code, ResultCode::BadCommand);
}

TEST_F(MediaObjectTest, AFailedSeekLeavesTheMediumStarted) {
    answer(CommandName::Start, kMain, m_film);
    m_engine.failing = true;
    EXPECT_EQ(answer(CommandName::Seek, kMain, "", "1.000000").code, ResultCode::Unplayable);
    EXPECT_EQ(answer(CommandName::Stop, kMain).code, ResultCode::Ok);
}

TEST_F(MediaObjectTest, CommandsAreAnsweredInTheirOrder) {
    m_engine.hold();
    post(CommandName::Start, kMain, m_film);
    post(CommandName::Start, kAd, m_other);
    post(CommandName::Seek, kMain, "", "1.000000");
    post(CommandName::Stop, kMain);
    m_engine.awaitHeld();
    EXPECT_TRUE(m_events.empty());
    m_engine.release();
    for (const char* session : {"ses-1", "ses-2", "ses-3", "ses-4"})
        EXPECT_EQ(m_events.next().session, session);
}

TEST_F(MediaObjectTest, DefinitionsOfTheMainVideoComeLater) {
    const Event started = answer(CommandName::Start, kMain, m_film);
    const auto news = m_events.news(1);
    ASSERT_EQ(news.size(), 1U);
    const Event& definition = news.at(0).event;
    EXPECT_EQ(definition.name, "definition");
    EXPECT_EQ(definition.code, ResultCode::Ok);
    EXPECT_EQ(definition.session, "");
    EXPECT_EQ(definition.objectId, "obj-1");
    EXPECT_EQ(definition.kind, kMain);
    EXPECT_EQ(definition.definitions, R"([{"definition":"240p","url":")" + started.localUrl + R"("}])");
    EXPECT_FALSE(news.at(0).subject.expired());
}

TEST_F(MediaObjectTest, DefinitionsOfSoundAreAudio) {
    m_engine.height = 0;
    const Event started = answer(CommandName::Start, kMain, m_film);
    EXPECT_EQ(m_events.news(1).at(0).event.definitions,
              R"([{"definition":"audio","url":")" + started.localUrl + R"("}])");
}

TEST_F(MediaObjectTest, DefinitionsAreTheOtherQualitiesServedWithTheMedium) {
    addFile(m_folder, "film.240p.webm", "low");
    addFile(m_folder, "film.1080p.webm", "high");
    answer(CommandName::Start, kMain, m_film);
    Json::Value list;
    ASSERT_TRUE(Json::Reader().parse(m_events.news(1).at(0).event.definitions, list));
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0]["definition"].asString(), "240p");
    EXPECT_EQ(fetch(list[0]["url"].asString()).body, "low");
    EXPECT_EQ(list[1]["definition"].asString(), "1080p");
    EXPECT_EQ(fetch(list[1]["url"].asString()).body, "high");
    answer(CommandName::Stop, kMain);
    EXPECT_EQ(fetch(list[0]["url"].asString()).status, 404);
}

TEST_F(MediaObjectTest, DefinitionsIncludeTheMediumItself) {
    addFile(m_folder, "film.120p.webm");
    addFile(m_folder, "film.1080p.webm");
    const Event started = answer(CommandName::Start, kMain, m_film);
    EXPECT_EQ(definitionNames(), (std::vector<std::string>{"120p", "240p", "1080p"}));
    EXPECT_EQ(definitions()[1]["url"].asString(), started.localUrl);
}

constexpr const char* kMasterPlaylist = "#EXTM3U\n#EXT-X-STREAM-INF:RESOLUTION=640x360\nmiddle/index.m3u8?a\n"
                                        "#EXT-X-STREAM-INF:RESOLUTION=426x240\nlow.m3u8\n"
                                        "#EXT-X-STREAM-INF:RESOLUTION=192x108\n../elsewhere.m3u8\n";

TEST_F(MediaObjectTest, APlaylistIsServedWithWhatItNames) {
    const std::string master = addFile(m_folder, "a master.m3u8", kMasterPlaylist);
    addFile(m_folder, "low.m3u8", "#EXTM3U\nlow.ts\n");
    addFile(m_folder, "low.ts", "low");
    const Event started = answer(CommandName::Start, kMain, master);
    EXPECT_TRUE(started.localUrl.ends_with("/a%20master.m3u8")) << started.localUrl;
    EXPECT_EQ(fetch(started.localUrl).body, kMasterPlaylist);
    EXPECT_EQ(fetch(started.localUrl).header("Content-Type"), "application/vnd.apple.mpegurl");
    const std::string folder = started.localUrl.substr(0, started.localUrl.rfind('/'));
    EXPECT_EQ(fetch(folder + "/low.ts").body, "low");
    answer(CommandName::Stop, kMain);
    EXPECT_EQ(fetch(folder + "/low.ts").status, 404);
}

TEST_F(MediaObjectTest, DefinitionsOfAPlaylistAreItsVariantsBelowIt) {
    const Event started = answer(CommandName::Start, kMain, addFile(m_folder, "master.m3u8", kMasterPlaylist));
    const std::string folder = started.localUrl.substr(0, started.localUrl.rfind('/') + 1);
    EXPECT_EQ(definitionNames(), (std::vector<std::string>{"240p", "360p"})) << "not what is outside the folder";
    EXPECT_EQ(definitions()[0]["url"].asString(), folder + "low.m3u8");
    EXPECT_EQ(definitions()[1]["url"].asString(), folder + "middle/index.m3u8");
}

TEST_F(MediaObjectTest, DefinitionsOfAnHttpPlaylistAreServedWhereverTheyAre) {
    const ScriptedServer source([](const std::string& header, TcpConnection& connection) {
        const std::string path = header.substr(4, header.find(' ', 4) - 4);
        return connection.write("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(path.size()) + "\r\n\r\n" +
                                path);
    });
    m_engine.address = {source.url("/a/b/master.m3u8?token"), kMasterPlaylist};
    const Event started = answer(CommandName::Start, kMain, "http://127.0.0.1:1/redirects-there");
    EXPECT_EQ(fetch(started.localUrl).body, "/a/b/master.m3u8?token");
    ASSERT_EQ(definitionNames(), (std::vector<std::string>{"108p", "240p", "360p"}));
    EXPECT_EQ(fetch(definitions()[0]["url"].asString()).body, "/a/elsewhere.m3u8");
    EXPECT_EQ(fetch(definitions()[1]["url"].asString()).body, "/a/b/low.m3u8");
    EXPECT_EQ(fetch(definitions()[2]["url"].asString()).body, "/a/b/middle/index.m3u8?a");
}

TEST_F(MediaObjectTest, DefinitionsOfAManifestAreItsHeightsAtItsUrl) {
    const Event started =
        answer(CommandName::Start, kMain,
               addFile(m_folder, "film.mpd",
                       "<MPD><Period><AdaptationSet><Representation height='360'/><Representation height='240'/>"
                       "</AdaptationSet></Period></MPD>"));
    EXPECT_EQ(definitionNames(), (std::vector<std::string>{"240p", "360p"}));
    for (const Json::Value& definition : definitions())
        EXPECT_EQ(definition["url"].asString(), started.localUrl);
}

TEST_F(MediaObjectTest, DefinitionsOfAMediaPlaylistAreTheMediumItself) {
    const Event started = answer(CommandName::Start, kMain, addFile(m_folder, "index.m3u8", "#EXTM3U\nseg.ts\n"));
    EXPECT_EQ(definitionNames(), std::vector<std::string>{"240p"});
    EXPECT_EQ(definitions()[0]["url"].asString(), started.localUrl);
}

TEST_F(MediaObjectTest, NewsOfAMediumEndsWithIt) {
    answer(CommandName::Start, kMain, m_film);
    const auto subject = m_events.news(1).at(0).subject;
    answer(CommandName::Stop, kMain);
    EXPECT_TRUE(subject.expired());
}

TEST_F(MediaObjectTest, AnAdvertisementHasNoDefinitions) {
    answer(CommandName::Start, kAd, m_film);
    answer(CommandName::Start, kMain, m_film);
    const auto news = m_events.news(1);
    ASSERT_EQ(news.size(), 1U);
    EXPECT_EQ(news.at(0).event.kind, kMain);
}

/// With an opening that hangs from the beginning.
class HangingMediaObjectTest : public testing::Test {
protected:
    void SetUp() override {
        m_engine.hold();
        post(CommandName::Start, kMain, m_film);
        m_engine.awaitHeld();
    }

    void post(CommandName name, const std::string& kind, const std::string& url = "",
              const std::string& position = "0.000000") {
        m_object.post({name, kind, "ses-" + std::to_string(++m_session), "obj-1", position, url});
    }

    /// The next answer, which must be that to the given-up command.
    void expectGivenUp(const std::string& session, const std::string& detail) {
        const Event failed = m_events.next();
        EXPECT_EQ(failed.name, "started");
        EXPECT_EQ(failed.session, session);
        EXPECT_EQ(failed.code, ResultCode::Interrupted);
        EXPECT_EQ(failed.detail, detail);
    }

    TemporaryFolder m_folder;
    const std::string m_film = addFile(m_folder, "film.webm", "the film");
    const std::string m_other = addFile(m_folder, "other.webm", "another film");
    FakeEngine m_engine;
    RecordingSink m_events;
    MediaServer m_server;
    MediaObject m_object{"obj-1", {m_engine, m_server, m_events, std::chrono::milliseconds(1)}};
    int m_session = 0;
};

TEST_F(HangingMediaObjectTest, AStopInterruptsTheOpening) {
    post(CommandName::Stop, kMain);
    expectGivenUp("ses-1", "Given up for a later stop");
    const Event stopped = m_events.next();
    EXPECT_EQ(stopped.session, "ses-2");
    EXPECT_EQ(stopped.code, ResultCode::WrongState);
}

/// While it exists, no thread can be started in this process: none gets so large a stack.
class ThreadShortage {
public:
    ThreadShortage() {
        pthread_getattr_default_np(&m_before);
        pthread_attr_t enormous;
        pthread_getattr_default_np(&enormous);
        pthread_attr_setstacksize(&enormous, std::size_t{1} << (sizeof(std::size_t) * 8 - 2));
        pthread_setattr_default_np(&enormous);
        pthread_attr_destroy(&enormous);
    }
    ~ThreadShortage() {
        pthread_setattr_default_np(&m_before);
        pthread_attr_destroy(&m_before);
    }
    ThreadShortage(const ThreadShortage&) = delete;
    ThreadShortage& operator=(const ThreadShortage&) = delete;

private:
    pthread_attr_t m_before;
};

TEST_F(HangingMediaObjectTest, WithoutAThreadToWatchItTheOpeningGoesOn) {
    {
        const ThreadShortage shortage;
        ASSERT_THROW(std::thread([] {}), std::system_error);
        post(CommandName::Stop, kMain);
    }
    m_engine.release();
    EXPECT_EQ(m_events.next().code, ResultCode::Ok);
    const Event stopped = m_events.next();
    EXPECT_EQ(stopped.name, "stopped");
    EXPECT_EQ(stopped.code, ResultCode::Ok);
}

TEST_F(HangingMediaObjectTest, AnotherStartOrPreloadInterruptsTheOpening) {
    post(CommandName::Start, kMain, m_other);
    expectGivenUp("ses-1", "Given up for a later start");
    m_engine.awaitHeld();
    post(CommandName::Preload, kMain, m_film);
    expectGivenUp("ses-2", "Given up for a later preload");
    m_engine.release();
    EXPECT_EQ(m_events.next().code, ResultCode::Ok);
}

TEST_F(HangingMediaObjectTest, AWaitingCommandInterruptsTheNextOpeningToo) {
    post(CommandName::Start, kMain, m_other);
    post(CommandName::Stop, kMain);
    expectGivenUp("ses-1", "Given up for a later start");
    expectGivenUp("ses-2", "Given up for a later stop");
    EXPECT_EQ(m_events.next().session, "ses-3");
    EXPECT_TRUE(m_events.empty());
}

TEST_F(HangingMediaObjectTest, WhatPlaysGoesOnAfterAnInterruption) {
    m_engine.release();
    const std::string url = m_events.next().localUrl;
    m_engine.hold();
    post(CommandName::Start, kMain, m_other);
    m_engine.awaitHeld();
    post(CommandName::Start, kMain, "/no/such/film");
    expectGivenUp("ses-2", "Given up for a later start");
    EXPECT_EQ(m_events.next().code, ResultCode::NotFound);
    EXPECT_EQ(fetch(url).body, "the film");
}

TEST_F(HangingMediaObjectTest, OtherCommandsWait) {
    post(CommandName::Seek, kMain);
    post(CommandName::Stop, kAd);
    post(CommandName::Start, kAd, m_other);
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // far beyond the patience
    EXPECT_TRUE(m_events.empty());
    m_engine.release();
    for (const auto& [session, code] :
         {std::pair("ses-1", ResultCode::Ok), std::pair("ses-2", ResultCode::Ok),
          std::pair("ses-3", ResultCode::WrongState), std::pair("ses-4", ResultCode::Ok)}) {
        const Event event = m_events.next();
        EXPECT_EQ(event.session, session);
        EXPECT_EQ(event.code, code);
    }
}

TEST_F(HangingMediaObjectTest, AStartGoesOnWithThePreloadThatHangs) {
    post(CommandName::Preload, kMain, m_other);
    expectGivenUp("ses-1", "Given up for a later preload");
    m_engine.awaitHeld();
    post(CommandName::Start, kMain, m_other);
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // far beyond the patience
    EXPECT_TRUE(m_events.empty());
    m_engine.release();
    const std::string url = m_events.next().localUrl;
    EXPECT_EQ(m_events.next().localUrl, url);
    EXPECT_EQ(m_engine.journal().size(), 1U);
}

TEST_F(MediaObjectTest, CommandsInQuickSuccessionAreAllCarriedOut) {
    m_engine.hold();
    post(CommandName::Start, kMain, m_film);
    m_engine.awaitHeld();
    post(CommandName::Stop, kMain);
    m_engine.release();
    EXPECT_EQ(m_events.next().code, ResultCode::Ok);
    EXPECT_EQ(m_events.next().code, ResultCode::Ok);
}

TEST(MediaObject, EndsWhileAMediumOpens) {
    const TemporaryFolder folder;
    const std::string film = addFile(folder, "film.webm");
    FakeEngine engine;
    RecordingSink events;
    MediaServer server;
    {
        MediaObject object("obj-1", {engine, server, events});
        engine.hold();
        object.post({CommandName::Start, kMain, "ses-1", "obj-1", "", film});
        object.post({CommandName::Stop, kMain, "ses-2", "obj-1", "", ""});
        engine.awaitHeld();
    }
    EXPECT_EQ(events.next().code, ResultCode::Internal);
    EXPECT_TRUE(events.empty());
}

TEST(MediaObject, EndsItsMediaWithItself) {
    const TemporaryFolder folder;
    const std::string film = addFile(folder, "film.webm", "the film");
    FakeEngine engine;
    RecordingSink events;
    MediaServer server;
    std::string url;
    {
        MediaObject object("obj-1", {engine, server, events});
        object.post({CommandName::Start, kMain, "ses-1", "obj-1", "", film});
        url = events.next().localUrl;
    }
    EXPECT_EQ(engine.journal().back(), "end film.webm");
    EXPECT_EQ(fetch(url).status, 404);
}

} // namespace
} // namespace velmora::desktop
