// The service as its clients see it: a real process on a real bus, with real media. Every test has a bus and
// a /dev/shm of its own.
#include "bus/topic_message.h"
#include "desktop/service/http/silent_server.h"
#include "desktop/service/mapped_region.h"
#include "desktop/service/service_client.h"
#include "desktop/service/service_process.h"
#include "launcher/private_bus.h"
#include "service/http/media_server.h"
#include "support/bus_peer.h"
#include "support/http_client.h"
#include "support/test_files.h"

#include <gtest/gtest.h>
#include <json/reader.h>

#include <csignal>
#include <cstdlib>
#include <thread>

namespace velmora::desktop {
namespace {

constexpr const char* kMain = "main_video";
constexpr const char* kAd = "advertisement";

class BusTest : public testing::Test {
protected:
    BusTest() { setenv("DBUS_SESSION_BUS_ADDRESS", m_bus->address().c_str(), 1); }

    std::optional<PrivateBus> m_bus{std::in_place, ZUV_PROGRAMS_DIR};
};

/// With the service running; at the end of each test it ends cleanly.
class ZuvServiceTest : public BusTest {
protected:
    ZuvServiceTest() { m_client.awaitService(); }

    void TearDown() override {
        m_service.signal(SIGTERM);
        EXPECT_EQ(m_service.exitStatus(), 0);
    }

    OwnService m_service;
    ServiceClient m_client;
};

TEST_F(ZuvServiceTest, HasItsRegionWhenItHasItsName) {
    const MappedRegion region;
    EXPECT_EQ(region.status().st_size, 4096);
    EXPECT_EQ(region.status().st_mode & 07777U, 0600U);
    EXPECT_EQ(region.values(), std::vector<std::string>(11));
}

TEST_F(ZuvServiceTest, LeavesJsonInItsRegionBeforeTheFirstEvent) {
    EXPECT_EQ(MappedRegion().text(), "{}");
}

TEST_F(ZuvServiceTest, CreatesAnObjectOnBothChannels) {
    const MappedRegion region;
    const std::string session = m_client.send("create", "", "");
    const ReceivedEvent created = m_client.answerTo(session);
    EXPECT_EQ(created.name(), "created");
    EXPECT_EQ(created.code(), "200");
    EXPECT_FALSE(created.object().empty());
    EXPECT_EQ(region.values(), created.values);
}

TEST_F(ZuvServiceTest, CreatesOneObjectWhenAskedTwiceInOneSession) {
    const std::vector<std::string> create{"create", "", "ses-twice", "", "", "", "", "", "", "", ""};
    m_client.send(create);
    const std::string object = m_client.answerTo("ses-twice").object();
    m_client.send(create);
    EXPECT_EQ(m_client.answerTo("ses-twice").object(), object);
    EXPECT_NE(m_client.createObject(), object);
}

TEST_F(ZuvServiceTest, AnswersAnInspection) {
    const ReceivedEvent status = m_client.request("inspect", "");
    EXPECT_EQ(status.name(), "status");
    EXPECT_EQ(status.code(), "200");
}

TEST_F(ZuvServiceTest, LeavesEveryAnswerInTheRegionBeforeItIsOnTheBus) {
    const MappedRegion region;
    for (int i = 0; i < 100; ++i) {
        const ReceivedEvent event = m_client.request("inspect", "");
        EXPECT_EQ(event.values, region.values());
    }
}

TEST_F(ZuvServiceTest, AnswersInTheOrderOfTheCommands) {
    std::vector<std::string> sessions;
    for (int i = 0; i < 200; ++i)
        sessions.push_back(m_client.send(i % 2 == 0 ? "inspect" : "create", "", ""));
    // Dropping what comes before, this fails on any answer that is out of order.
    for (const std::string& session : sessions)
        ASSERT_EQ(m_client.answerTo(session).session(), session);
}

class EachKind : public ZuvServiceTest, public testing::WithParamInterface<const char*> {};

TEST_P(EachKind, IsStartedServedAndStopped) {
    const std::string object = m_client.createObject();
    const ReceivedEvent started = m_client.request("start", object, GetParam(), clip("clip.webm"), "", "1");
    EXPECT_EQ(started.name(), "started");
    EXPECT_EQ(started.code(), "200");
    EXPECT_EQ(started.object(), object);
    EXPECT_EQ(started.kind(), GetParam());
    EXPECT_TRUE(started.localUrl().starts_with("http://127.0.0.1:"));
    const std::string bytes = fileBytes(clip("clip.webm"));
    EXPECT_TRUE(fetch(started.localUrl()).body == bytes);
    EXPECT_TRUE(fetch(started.localUrl(), "bytes=1000-1999").body == bytes.substr(1000, 1000));

    const ReceivedEvent stopped = m_client.request("stop", object, GetParam());
    EXPECT_EQ(stopped.name(), "stopped");
    EXPECT_EQ(stopped.code(), "200");
    EXPECT_EQ(stopped.kind(), GetParam());
    EXPECT_EQ(fetch(started.localUrl()).status, 404);
}

TEST_P(EachKind, IsPreloadedAndThenPlays) {
    const std::string object = m_client.createObject();
    const ReceivedEvent started = m_client.request("preload", object, GetParam(), clip("clip.webm"), "1.000000");
    EXPECT_EQ(started.name(), "started");
    EXPECT_EQ(started.code(), "200");
    EXPECT_EQ(started.kind(), GetParam());
    EXPECT_EQ(fetchHeader(started.localUrl()).status, 200);
    EXPECT_EQ(m_client.request("stop", object, GetParam()).code(), "200");
}

INSTANTIATE_TEST_SUITE_P(ZuvService, EachKind, testing::Values(kMain, kAd),
                         [](const auto& tested) { return std::string(tested.param); });

TEST_F(ZuvServiceTest, KeepsMainVideoAndAdvertisementApart) {
    const std::string object = m_client.createObject();
    const std::string film = m_client.request("start", object, kMain, clip("clip.webm")).localUrl();
    const std::string advertisement = m_client.request("start", object, kAd, clip("tone.ogg")).localUrl();
    EXPECT_EQ(m_client.request("stop", object, kAd).code(), "200");
    EXPECT_EQ(fetchHeader(advertisement).status, 404);
    EXPECT_EQ(m_client.request("seek", object, "", "", "1.000000").code(), "200");
    EXPECT_EQ(fetchHeader(film).status, 200);
}

TEST_F(ZuvServiceTest, SeeksTheMainVideo) {
    const std::string object = m_client.createObject();
    m_client.request("start", object, kMain, "file://" + clip("clip.webm").string());
    for (const char* position : {"2.000000", "0.000000", "1.234567"}) {
        const ReceivedEvent seeked = m_client.request("seek", object, "", "a text", position);
        EXPECT_EQ(seeked.name(), "seeked");
        EXPECT_EQ(seeked.code(), "200");
        EXPECT_EQ(seeked.object(), object);
    }
}

/// Of two bytes a character, so that what is shortened to an even number of bytes behind a "/" ends within one.
std::string cyrillicText() {
    std::string text;
    while (text.size() < 240)
        text += "ф";
    return text;
}

struct Failing {
    const char* name;
    const char* command;
    const char* kind;
    std::string url;
    const char* position;
    const char* code;
};

class FailingCommand : public ZuvServiceTest, public testing::WithParamInterface<Failing> {};

TEST_P(FailingCommand, IsAnsweredWithCodeAndDetail) {
    const std::string object = m_client.createObject();
    const Failing& failing = GetParam();
    const ReceivedEvent event = m_client.request(failing.command, object, failing.kind, failing.url, failing.position);
    EXPECT_EQ(event.code(), failing.code) << event.detail();
    EXPECT_EQ(event.object(), object);
    EXPECT_EQ(event.localUrl(), "");
    EXPECT_FALSE(event.detail().empty());
    EXPECT_TRUE(m_client.ping());
}

INSTANTIATE_TEST_SUITE_P(
    ZuvService, FailingCommand,
    testing::Values(Failing{"TextFile", "start", kMain, clip("not-media.txt"), "", "415"},
                    Failing{"CutShortFile", "start", kMain, clip("cut-short.webm"), "", "415"},
                    Failing{"MissingFile", "start", kMain, "/no/such/film.webm", "", "404"},
                    Failing{"Folder", "start", kAd, ZUV_TEST_MEDIA_DIR, "", "415"},
                    Failing{"Device", "preload", kMain, "file:///dev/zero", "0.000000", "415"},
                    Failing{"UnreachableServer", "start", kMain, "http://127.0.0.1:1/film.webm", "", "404"},
                    Failing{"NoUrl", "start", kMain, "", "", "400"},
                    Failing{"OtherScheme", "preload", kAd, "rtsp://127.0.0.1/film", "0.000000", "400"},
                    Failing{"PathCutWithinACharacter", "start", kMain, "/" + cyrillicText(), "", "404"},
                    Failing{"UrlInLatin1", "start", kMain, "\xe4rger.webm", "", "400"},
                    Failing{"BytesForAUrl", "start", kMain, std::string("/\0\xff\n", 4), "", "400"},
                    Failing{"NoKind", "start", "", clip("clip.webm"), "", "400"},
                    Failing{"OtherKind", "stop", "subtitles", "", "", "400"},
                    Failing{"PreloadAtText", "preload", kMain, clip("clip.webm"), "soon", "400"},
                    Failing{"PreloadBehindTheEnd", "preload", kMain, clip("clip.webm"), "99.000000", "400"},
                    Failing{"SeekToNan", "seek", "", "", "nan", "400"},
                    Failing{"SeekBeforeTheBeginning", "seek", "", "", "-1.000000", "400"},
                    Failing{"SeekWhileIdle", "seek", "", "", "1.000000", "409"},
                    Failing{"StopWhileIdle", "stop", kAd, "", "", "409"}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(ZuvServiceTest, StopsOnce) {
    const std::string object = m_client.createObject();
    m_client.request("start", object, kMain, clip("clip.webm"));
    EXPECT_EQ(m_client.request("stop", object, kMain).code(), "200");
    EXPECT_EQ(m_client.request("stop", object, kMain).code(), "409");
}

TEST_F(ZuvServiceTest, AnswersForAnObjectThatItDoesNotKnow) {
    const ReceivedEvent event = m_client.request("start", "obj-unknown", kMain, clip("clip.webm"));
    EXPECT_EQ(event.name(), "started");
    EXPECT_EQ(event.code(), "404");
    EXPECT_EQ(event.object(), "obj-unknown");
}

TEST_F(ZuvServiceTest, SurvivesWhatIsNoCommandAndSaysSoOnTheBusOnly) {
    const std::vector<std::vector<std::string>> lists = {
        {},
        {"start"},
        std::vector<std::string>(10, "start"),
        std::vector<std::string>(10'000, "start"),
        std::vector<std::string>(11, std::string(100'000, '\xff')),
        std::vector<std::string>(11, std::string("\0", 1)),
        {"\xc4", kMain, "ses-1", "obj-1", "", "", "", "", "", "", ""},
        {"dance", kMain, "ses-1", "obj-1", "", "", "", "", "", "", ""},
    };
    const MappedRegion region;
    const ReceivedEvent before = m_client.request("inspect", "");
    for (const std::vector<std::string>& list : lists) {
        m_client.send(list);
        const ReceivedEvent refusal = m_client.next("unknown");
        EXPECT_EQ(refusal.values.size(), 11U);
        EXPECT_EQ(refusal.code(), "400");
        EXPECT_EQ(refusal.session(), list.size() > 2 ? list[2].substr(0, 128) : "");
        EXPECT_NE(refusal.detail(), "");
    }
    EXPECT_EQ(region.values(), before.values);
    EXPECT_EQ(m_client.request("inspect", "").detail(), "objects=0");
}

TEST_F(ZuvServiceTest, BringsOddIdentifiersBackOnBothChannelsUnchanged) {
    const MappedRegion region;
    const std::string object("\xff\"\\\x01\0\n", 6);
    const ReceivedEvent event = m_client.request("stop", object, kMain);
    EXPECT_EQ(event.object(), object);
    EXPECT_EQ(region.values(), event.values);
}

TEST_F(ZuvServiceTest, AnnouncesDefinitionsSomeTimeAfterTheAnswer) {
    const MappedRegion region;
    const std::string object = m_client.createObject();
    // The answer comes after this, and may take its time to get here.
    const auto sent = std::chrono::steady_clock::now();
    const ReceivedEvent started = m_client.request("start", object, kMain, clip("clip.webm"));
    const ReceivedEvent definition = m_client.next("definition");
    EXPECT_GE(definition.when - sent, std::chrono::milliseconds(400));
    EXPECT_EQ(definition.code(), "200");
    EXPECT_EQ(definition.session(), "");
    EXPECT_EQ(definition.object(), object);
    EXPECT_EQ(definition.kind(), kMain);
    EXPECT_EQ(definition.definitions(), R"([{"definition":"240p","url":")" + started.localUrl() + R"("}])");
    EXPECT_EQ(region.values(), definition.values);
}

TEST_F(ZuvServiceTest, AnnouncesAndServesTheQualities) {
    const std::string object = m_client.createObject();
    const std::string played = m_client.request("start", object, kMain, clip("qualities.webm")).localUrl();
    Json::Value list;
    ASSERT_TRUE(Json::Reader().parse(m_client.next("definition").definitions(), list));
    ASSERT_EQ(list.size(), 3U);
    EXPECT_EQ(list[0]["definition"].asString(), "120p");
    EXPECT_TRUE(fetch(list[0]["url"].asString()).body == fileBytes(clip("qualities.120p.webm")));
    EXPECT_EQ(list[1]["definition"].asString(), "240p");
    EXPECT_TRUE(fetch(list[1]["url"].asString()).body == fileBytes(clip("qualities.240p.webm")));
    EXPECT_EQ(list[2]["definition"].asString(), "480p");
    EXPECT_EQ(list[2]["url"].asString(), played);
}

TEST_F(ZuvServiceTest, PassesAnHttpMediumOn) {
    MediaServer source;
    const ServedMedium film(source, {"", clip("clip.webm")});
    const std::string object = m_client.createObject();
    const ReceivedEvent started = m_client.request("start", object, kMain, film.url());
    EXPECT_EQ(started.code(), "200") << started.detail();
    const std::string bytes = fileBytes(clip("clip.webm"));
    EXPECT_NE(started.localUrl(), film.url());
    EXPECT_TRUE(fetch(started.localUrl()).body == bytes);
    EXPECT_TRUE(fetch(started.localUrl(), "bytes=10-19").body == bytes.substr(10, 10));
}

TEST_F(ZuvServiceTest, FreesTheObjectsOfAClientThatLeaves) {
    auto leaving = std::make_optional<ServiceClient>();
    const std::string object = leaving->createObject();
    const std::string url = leaving->request("start", object, kMain, clip("clip.webm")).localUrl();
    ASSERT_EQ(fetchHeader(url).status, 200);
    leaving.reset();
    while (fetchHeader(url).status != 404)
        std::this_thread::yield();
    EXPECT_EQ(m_client.request("inspect", "").detail(), "objects=0");
    EXPECT_EQ(m_client.request("stop", object, kMain).code(), "404");
}

TEST_F(ZuvServiceTest, AnswersPingsAndOthersWhileAMediumOpens) {
    const SilentServer silent;
    const std::string busy = m_client.createObject();
    const std::string other = m_client.createObject();
    m_client.send("start", busy, kMain, silent.url());
    silent.awaitClient();
    EXPECT_TRUE(m_client.ping());
    EXPECT_FALSE(m_client.hasEvent());
    EXPECT_EQ(m_client.request("start", other, kMain, clip("clip.webm")).code(), "200");
    EXPECT_EQ(m_client.request("inspect", "").code(), "200");
}

TEST_F(ZuvServiceTest, GivesUpAnOpeningThatHangsForAStopOrANewStart) {
    const SilentServer silent;
    const std::string object = m_client.createObject();
    const std::string first = m_client.send("start", object, kMain, silent.url());
    silent.awaitClient();
    const std::string second = m_client.send("stop", object, kMain);
    EXPECT_EQ(m_client.answerTo(first).code(), "499");
    EXPECT_EQ(m_client.answerTo(second).code(), "409");
    const std::string third = m_client.send("start", object, kMain, silent.url());
    const std::string fourth = m_client.send("start", object, kMain, clip("clip.webm"));
    EXPECT_EQ(m_client.answerTo(third).detail(), "Given up for a later start");
    EXPECT_EQ(m_client.answerTo(fourth).code(), "200");
}

/// The test sees how the service ends.
class ServiceEndTest : public BusTest {
protected:
    ServiceClient m_client;
};

TEST_F(ServiceEndTest, HasDroppedForeignMessagesWithALine) {
    testing::internal::CaptureStderr();
    OwnService service;
    m_client.awaitService();
    BusPeer peer;

    EXPECT_GE(peer.sendForeignToAll(kCommandTopic), 0);
    EXPECT_GE(peer.publishTooLong(kCommandTopic), 0);
    EXPECT_TRUE(peer.isOwned(kServiceName)) << "and what the peer sent before is on its way";

    EXPECT_EQ(m_client.request("inspect", "").detail(), "objects=0");
    service.signal(SIGTERM);
    EXPECT_EQ(service.exitStatus(), 0);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("malformed command dropped: sender=:1."), std::string::npos) << log;
    EXPECT_NE(log.find("foreign message dropped: sender=:1."), std::string::npos) << log;
}

TEST_F(ServiceEndTest, EndsCleanlyOnSigterm) {
    OwnService service;
    m_client.awaitService();
    const std::string object = m_client.createObject();
    m_client.request("start", object, kMain, clip("clip.webm"));
    m_client.request("start", object, kAd, clip("tone.ogg"));
    service.signal(SIGTERM);
    EXPECT_EQ(service.exitStatus(), 0);
}

TEST_F(ServiceEndTest, EndsCleanlyWhileAMediumOpens) {
    const SilentServer silent;
    OwnService service({"--open-timeout", "3600"});
    m_client.awaitService();
    m_client.send("start", m_client.createObject(), kMain, silent.url());
    silent.awaitClient();
    service.signal(SIGINT);
    EXPECT_EQ(service.exitStatus(), 0);
}

TEST_F(ServiceEndTest, EndsCleanlyWhenTheBusGoesAway) {
    OwnService service;
    m_client.awaitService();
    m_client.request("start", m_client.createObject(), kMain, clip("clip.webm"));
    m_bus.reset();
    EXPECT_EQ(service.exitStatus(), 0);
}

TEST_F(ServiceEndTest, KeepsTheRegionAcrossARestart) {
    OwnService before;
    m_client.awaitService();
    const MappedRegion region;
    const ReceivedEvent last = m_client.request("create", "");
    before.signal(SIGTERM);
    EXPECT_EQ(before.exitStatus(), 0);
    m_client.awaitNoService();
    EXPECT_EQ(region.values(), last.values);

    const OwnService after;
    m_client.awaitService();
    EXPECT_EQ(region.values(), last.values);
    const ReceivedEvent created = m_client.request("create", "");
    EXPECT_EQ(region.values(), created.values);
    EXPECT_NE(created.object(), last.object());
    EXPECT_EQ(m_client.request("stop", last.object(), kMain).code(), "404");
}

TEST_F(ServiceEndTest, IsStartedByTheBusAfterACrash) {
    OwnService before;
    m_client.awaitService();
    before.signal(SIGKILL);
    EXPECT_EQ(before.exitStatus(), -1);
    m_client.awaitNoService();
    m_client.activateService();
    EXPECT_EQ(m_client.request("create", "").code(), "200");
}

TEST_F(ServiceEndTest, GivesUpOnAMediumAfterTheOpenTimeout) {
    const SilentServer silent;
    const OwnService service({"--open-timeout", "0.2"});
    m_client.awaitService();
    const ReceivedEvent event = m_client.request("start", m_client.createObject(), kMain, silent.url());
    EXPECT_EQ(event.code(), "415");
    EXPECT_EQ(event.detail(), "Not ready within 200 ms");
}

TEST_F(ServiceEndTest, TakesTheOpenTimeoutFromTheEnvironment) {
    const SilentServer silent;
    setenv("ZUV_SERVICE_OPEN_TIMEOUT", "0.2", 1);
    const OwnService service;
    unsetenv("ZUV_SERVICE_OPEN_TIMEOUT");
    m_client.awaitService();
    const ReceivedEvent event = m_client.request("start", m_client.createObject(), kMain, silent.url());
    EXPECT_EQ(event.detail(), "Not ready within 200 ms");
}

TEST_F(ServiceEndTest, LeavesTheNameToTheServiceThatHasIt) {
    const OwnService first;
    m_client.awaitService();
    const Output second = runProgram("zuv-service", "");
    EXPECT_EQ(second.status, 1);
    EXPECT_NE(second.text.find("another service already owns velmora.zuv.Service"), std::string::npos) << second.text;
    EXPECT_EQ(m_client.request("inspect", "").code(), "200");
}

TEST(ZuvServiceProgram, SaysWhenThereIsNoBus) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/no/such/bus", 1);
    const Output output = runProgram("zuv-service", "");
    EXPECT_EQ(output.status, 1);
    EXPECT_NE(output.text.find("cannot connect to the bus"), std::string::npos) << output.text;
}

TEST(ZuvServiceProgram, ExplainsItself) {
    const Output help = runProgram("zuv-service", "--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.text.find("--open-timeout"), std::string::npos);
    EXPECT_EQ(runProgram("zuv-service", "--version").text, ZUV_VERSION "\n");
}

TEST(ZuvServiceProgram, RefusesWhatItDoesNotKnow) {
    EXPECT_EQ(runProgram("zuv-service", "--nonsense").status, 2);
    EXPECT_EQ(runProgram("zuv-service", "--open-timeout soon").status, 2);
    EXPECT_EQ(runProgram("zuv-service", "--open-timeout 0").status, 2);
    EXPECT_EQ(runProgram("zuv-keeper", "--nonsense").status, 2);
    EXPECT_EQ(runProgram("zuv-keeper", "--version").text, ZUV_VERSION "\n");
}

} // namespace
} // namespace velmora::desktop
