// The client library of this build beside a service of another word size: commands and events cross one bus, the
// service's events one shared memory. All tests share one run of the desktop platform, each with a client
// process of its own.
#include "support/loaded_library.h"
#include "support/notification_record.h"
#include "support/participant.h"
#include "support/service_protocol.h"

#include <elf.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>

using namespace velmora;
namespace State = velmora::ZUVMediaProxyState;

namespace {

const std::string kService = ZUV_DESKTOP_PROGRAMS_DIR "/zuv-service";
/// Any file: the simulated engine takes what exists for an hour of video.
const std::string kMedium = kService;

unsigned char wordSizeOf(const std::string& program) {
    std::string identification(EI_NIDENT, '\0');
    std::ifstream(program, std::ios::binary).read(identification.data(), EI_NIDENT);
    return static_cast<unsigned char>(identification[EI_CLASS]);
}

TEST(WordSizes, AreNotTheSame) {
    ASSERT_EQ(wordSizeOf(ZUV_MEDIA_PROXY_LIBRARY), sizeof(void*) == 4 ? ELFCLASS32 : ELFCLASS64);
    EXPECT_NE(wordSizeOf(kService), wordSizeOf(ZUV_MEDIA_PROXY_LIBRARY));
}

class Library : public LoadedLibrary {
public:
    Library() : LoadedLibrary(ZUV_MEDIA_PROXY_LIBRARY) {}

    ZUVMediaProxyManagerInterface& manager() const {
        ZUVMediaProxyManagerInterface& manager = *LoadedLibrary::manager();
        manager.setZUVCallback(&NotificationRecord::onMainVideo);
        manager.setZUVAdCallback(&NotificationRecord::onAdvertisement);
        return manager;
    }
};

/// The service answers on the bus, as usual.
class Asynchronous : public testing::Test {
protected:
    const Library m_library;
    const std::shared_ptr<ZUVMediaProxyInterface> m_proxy = m_library.manager().createNewZUVMediaProxy();
};

TEST_F(Asynchronous, CreationGivesTheIdentifierThatTheServiceAnnounced) {
    EXPECT_NE(m_proxy->id(), "");
}

TEST_F(Asynchronous, StartBringsTheLocalUrlAndThenTheDefinitions) {
    m_proxy->start(kMedium, 1);

    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_EQ(url->proxyId, m_proxy->id());
    EXPECT_EQ(url->value, m_proxy->localURL());
    const auto definitions = NotificationRecord::await(Medium::MainVideo, "definitions");
    ASSERT_TRUE(definitions.has_value());
    EXPECT_EQ(definitions->value, R"([{"definition":"240p","url":")" + url->value + R"("}])");
}

TEST_F(Asynchronous, TheAdvertisementsStartBringsItsLocalUrl) {
    m_proxy->startAd(kMedium, 1);

    const auto url = NotificationRecord::await(Medium::Advertisement, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_EQ(url->value, m_proxy->localAdURL());
}

TEST_F(Asynchronous, APreloadsUrlComesWithTheStartThatAttachesToIt) {
    m_proxy->preload(1.5, kMedium, "", "");
    m_proxy->start("", 0);

    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_NE(url->value, "");
}

TEST_F(Asynchronous, ASeekArrivesAsItWasSent) {
    Participant participant;
    ASSERT_TRUE(participant.join());
    // The medium is an hour long: a position that had changed on its way would be refused, or accepted.
    m_proxy->start(kMedium, 1);
    m_proxy->seek(3600.0, "");
    m_proxy->seek(3600.000001, "");

    std::vector<std::string> codes;
    for (std::size_t count = 1; codes.size() < 2 && participant.client.awaitEvents(count); ++count) {
        const Event event = participant.client.events()[count - 1];
        if (event[0] == "seeked")
            codes.push_back(event[1]);
    }
    EXPECT_EQ(codes, (std::vector<std::string>{"200", "400"}));
}

TEST_F(Asynchronous, TheTopicsCurrentEventIsRead) {
    m_proxy->start(kMedium, 1);
    ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "definitions").has_value());

    Participant participant;
    ASSERT_EQ(participant.access.initialize(), 0);
    Event event;
    ASSERT_EQ(participant.access.read(kEventTopic, event), 0);
    EXPECT_EQ(event[0], "definition");
    EXPECT_EQ(event[3], m_proxy->id());
}

TEST(Loading, TheLibraryDeliversAfterItWasLetGoAndLoadedAgain) {
    ZUVMediaProxyManagerInterface* manager = nullptr;
    std::shared_ptr<ZUVMediaProxyInterface> proxy;
    {
        const Library library;
        manager = &library.manager();
        proxy = manager->createNewZUVMediaProxy();
    }
    const Library again;

    EXPECT_EQ(&again.manager(), manager);
    proxy->start(kMedium, 1);
    EXPECT_TRUE(NotificationRecord::await(Medium::MainVideo, "url").has_value());
}

/// The service answers in shared memory alone.
class Synchronous : public testing::Test {
protected:
    const Library m_library;
    const std::shared_ptr<ZUVMediaProxyInterface> m_proxy = m_library.manager().createNewZUVMediaProxySync();
};

TEST_F(Synchronous, CreationGivesTheIdentifierThatTheServiceAnnounced) {
    EXPECT_NE(m_proxy->id(), "");
}

TEST_F(Synchronous, StartReturnsWithTheAnswerHandled) {
    m_proxy->start(kMedium, 1);

    EXPECT_EQ(m_proxy->getState(), State::Started);
    const std::vector<Notification> notifications = NotificationRecord::all();
    ASSERT_EQ(notifications.size(), 1u);
    EXPECT_EQ(notifications[0].value, m_proxy->localURL());
    EXPECT_EQ(notifications[0].thread, std::this_thread::get_id());
}

TEST_F(Synchronous, TheAdvertisementsStartReturnsWithTheAnswerHandled) {
    m_proxy->startAd(kMedium, 1);

    EXPECT_NE(m_proxy->localAdURL(), "");
}

TEST_F(Synchronous, SeekReturnsWithTheAnswerHandled) {
    m_proxy->start(kMedium, 1);
    testing::internal::CaptureStderr();
    m_proxy->seek(3600.0, "");
    const std::string log = testing::internal::GetCapturedStderr();

    EXPECT_NE(log.find("Seek Done. " + m_proxy->id() + "\n"), std::string::npos) << log;
}

TEST_F(Synchronous, APreloadReturnsWithItsUrlAndTheStartThatAttachesToItDeliversIt) {
    m_proxy->preload(1.5, kMedium, "", "");
    const std::string url = m_proxy->localURL();

    ASSERT_NE(url, "");
    EXPECT_TRUE(NotificationRecord::all().empty());
    m_proxy->start("", 0);
    const std::vector<Notification> notifications = NotificationRecord::all();
    ASSERT_GE(notifications.size(), 2u);
    EXPECT_EQ(notifications[0].changed, "url");
    EXPECT_EQ(notifications[0].value, url);
    EXPECT_EQ(notifications[1].changed, "definitions");
}

} // namespace
