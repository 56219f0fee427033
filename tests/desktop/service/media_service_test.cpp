#include "desktop/service/fake_engine.h"
#include "desktop/service/recording_sink.h"
#include "service/media_service.h"
#include "support/http_client.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

namespace velmora::desktop {
namespace {

std::vector<std::string> commandVector(const std::string& name, const std::string& session,
                                       const std::string& object = "", const std::string& kind = "",
                                       const std::string& url = "") {
    return {name, kind, session, object, "", "", url, "", "", "", ""};
}

std::vector<std::string> refusalValues(const std::string& session, const std::string& object, const std::string& kind,
                                       const std::string& detail) {
    return {"unknown", "400", session, object, "", "", "", "", detail, kind, ""};
}

class MediaServiceTest : public testing::Test {
protected:
    std::string create(const std::string& session, const std::string& client = ":1.1") {
        m_service.onCommand(commandVector("create", session), client);
        return m_events.next().objectId;
    }

    Event startFilm(const std::string& object) {
        m_service.onCommand(commandVector("start", "ses-start", object, "main_video", m_film), ":1.1");
        return m_events.next();
    }

    std::string inspect() {
        m_service.onCommand(commandVector("inspect", "ses-inspect"), ":1.1");
        return m_events.next().detail;
    }

    TemporaryFolder m_folder;
    const std::string m_film = addFile(m_folder, "film.webm", "the film");
    FakeEngine m_engine;
    RecordingSink m_events;
    MediaServer m_server;
    MediaService m_service{{m_engine, m_server, m_events}};
};

TEST_F(MediaServiceTest, CreatesAnObject) {
    m_service.onCommand(commandVector("create", "ses-1"), ":1.1");
    const Event created = m_events.next();
    EXPECT_EQ(created.name, "created");
    EXPECT_EQ(created.code, ResultCode::Ok);
    EXPECT_EQ(created.session, "ses-1");
    EXPECT_TRUE(created.objectId.starts_with("obj-"));
    EXPECT_EQ(created.objectId.size(), 36U);
}

TEST_F(MediaServiceTest, CreatesOneObjectForOneSession) {
    const std::string object = create("ses-1");
    EXPECT_EQ(create("ses-1"), object);
    EXPECT_NE(create("ses-2"), object);
    EXPECT_EQ(inspect(), "objects=2");
}

TEST_F(MediaServiceTest, CreatesNothingWithoutASession) {
    m_service.onCommand(commandVector("create", ""), ":1.1");
    EXPECT_EQ(m_events.next().code, ResultCode::BadCommand);
    EXPECT_EQ(inspect(), "objects=0");
}

TEST_F(MediaServiceTest, IsAliveWhenInspected) {
    m_service.onCommand(commandVector("inspect", "ses-1"), ":1.1");
    const Event status = m_events.next();
    EXPECT_EQ(status.name, "status");
    EXPECT_EQ(status.code, ResultCode::Ok);
    EXPECT_EQ(status.session, "ses-1");
}

TEST_F(MediaServiceTest, HandsCommandsToTheirObject) {
    const std::string object = create("ses-1");
    create("ses-2");
    const Event started = startFilm(object);
    EXPECT_EQ(started.name, "started");
    EXPECT_EQ(started.code, ResultCode::Ok);
    EXPECT_EQ(started.objectId, object);
}

TEST_F(MediaServiceTest, SaysWhichCommandAnAnswerIsFor) {
    const std::string object = create("ses-1");
    EXPECT_EQ(m_events.answeredCommand(), CommandName::Create);
    inspect();
    EXPECT_EQ(m_events.answeredCommand(), CommandName::Inspect);
    startFilm(object);
    EXPECT_EQ(m_events.answeredCommand(), CommandName::Start);
    m_service.onCommand(commandVector("seek", "ses-2", "obj-unknown"), ":1.1");
    EXPECT_EQ(m_events.next().code, ResultCode::NotFound);
    EXPECT_EQ(m_events.answeredCommand(), CommandName::Seek);
}

TEST_F(MediaServiceTest, AnswersForAnObjectThatItDoesNotKnow) {
    for (const auto& [command, answer] : {std::pair("start", "started"), std::pair("stop", "stopped"),
                                          std::pair("seek", "seeked"), std::pair("preload", "started")}) {
        m_service.onCommand(commandVector(command, "ses-1", "obj-unknown", "advertisement"), ":1.1");
        const Event event = m_events.next();
        EXPECT_EQ(event.name, answer);
        EXPECT_EQ(event.code, ResultCode::NotFound);
        EXPECT_EQ(event.session, "ses-1");
        EXPECT_EQ(event.objectId, "obj-unknown");
        EXPECT_EQ(event.detail, "No such object: \"obj-unknown\"");
    }
}

// An answer in shared memory would replace the one for which a client polls.
TEST_F(MediaServiceTest, RefusesWhatIsNoCommandOnTheBusOnly) {
    m_service.onCommand({}, ":1.1");
    m_service.onCommand({"start", "main_video", "ses-1"}, ":1.1");
    m_service.onCommand(commandVector("dance", "ses-2", "obj-2", "main_video"), ":1.1");
    m_service.onCommand(commandVector("create", "ses-3", std::string(100'000, 'o')), ":1.1");
    EXPECT_EQ(inspect(), "objects=0");
    EXPECT_TRUE(m_events.empty());
    const std::vector<Event> refusals = m_events.refusals();
    ASSERT_EQ(refusals.size(), 4U);
    EXPECT_EQ(toValues(refusals[0]), refusalValues("", "", "", "A command has 11 entries, not 0"));
    EXPECT_EQ(toValues(refusals[1]), refusalValues("ses-1", "", "main_video", "A command has 11 entries, not 3"));
    EXPECT_EQ(toValues(refusals[2]), refusalValues("ses-2", "obj-2", "main_video", R"(No such command: "dance")"));
    EXPECT_EQ(toValues(refusals[3]),
              refusalValues("ses-3", std::string(128, 'o'), "", "A kind or identifier of more than 128 bytes"));
}

TEST_F(MediaServiceTest, AnswersWhileAnotherObjectIsBusy) {
    const std::string busy = create("ses-1");
    m_engine.hold();
    m_service.onCommand(commandVector("start", "ses-start", busy, "main_video", m_film), ":1.1");
    m_engine.awaitHeld();
    EXPECT_EQ(inspect(), "objects=1");
    m_engine.release();
    EXPECT_EQ(m_events.next().name, "started");
}

TEST_F(MediaServiceTest, LetsSeveralObjectsWorkAtOnce) {
    const std::string first = create("ses-1");
    const std::string second = create("ses-2");
    m_engine.hold();
    m_service.onCommand(commandVector("start", "ses-start", first, "main_video", m_film), ":1.1");
    m_engine.awaitHeld();
    m_service.onCommand(commandVector("stop", "ses-stop", second, "main_video"), ":1.1");
    EXPECT_EQ(m_events.next().session, "ses-stop");
    m_engine.release();
    EXPECT_EQ(m_events.next().session, "ses-start");
}

TEST_F(MediaServiceTest, FreesTheObjectsOfAClientThatLeaves) {
    const std::string left = create("ses-1", ":1.1");
    const std::string stays = create("ses-2", ":1.2");
    const std::string url = startFilm(left).localUrl;
    m_service.onClientLeft(":1.1");
    EXPECT_EQ(startFilm(left).code, ResultCode::NotFound);
    EXPECT_EQ(startFilm(stays).code, ResultCode::Ok);
    while (fetch(url).status != 404) // its end is another thread's work
        std::this_thread::yield();
    EXPECT_NE(create("ses-1", ":1.3"), left);
}

TEST_F(MediaServiceTest, IsNotHeldUpByTheEndOfABusyObject) {
    const std::string object = create("ses-1", ":1.1");
    m_engine.hold();
    m_service.onCommand(commandVector("start", "ses-start", object, "main_video", m_film), ":1.1");
    m_engine.awaitHeld();
    m_service.onClientLeft(":1.1");
    EXPECT_EQ(m_events.next().code, ResultCode::Internal);
    EXPECT_EQ(inspect(), "objects=0");
}

TEST_F(MediaServiceTest, DoesNotMindStrangersThatLeave) {
    create("ses-1", ":1.1");
    m_service.onClientLeft(":1.7");
    m_service.onClientLeft("");
    EXPECT_EQ(inspect(), "objects=1");
}

} // namespace
} // namespace velmora::desktop
