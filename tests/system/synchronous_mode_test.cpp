// The library in synchronous mode against the real service: every request waits for its answer in shared
// memory.
#include "system/application.h"

using namespace velmora;
using namespace velmora::system_test;
namespace State = velmora::ZUVMediaProxyState;

namespace {

class SynchronousMode : public ApplicationTest {
protected:
    void SetUp() override { startService(); }

    std::shared_ptr<ZUVMediaProxyInterface> createProxy() { return manager().createNewZUVMediaProxySync(); }
};

class SynchronousModeWithoutService : public ApplicationTest {};

TEST_F(SynchronousModeWithoutService, CreationStartsTheServiceAndReturnsARegisteredProxy) {
    const auto proxy = manager().createNewZUVMediaProxySync();

    ASSERT_FALSE(proxy->id().empty());
    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById(proxy->id()), proxy);
}

TEST_F(SynchronousMode, StartReturnsWithTheAnswerHandled) {
    const auto proxy = createProxy();

    proxy->start(clip("clip.webm"), 1);

    EXPECT_EQ(proxy->getState(), State::Started);
    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_EQ(proxy->localURL(), url->value);
    EXPECT_TRUE(fetch(url->value).body == fileBytes(clip("clip.webm")));
}

TEST_F(SynchronousMode, AnAdvertisementsUrlComesFromTheRequestAndFromTheBus) {
    const auto proxy = createProxy();

    proxy->startAd(clip("clip.webm"), 1);

    const auto second = NotificationRecord::await(Medium::Advertisement, "url", 2);
    ASSERT_TRUE(second.has_value());
    const std::vector<Notification> notifications = NotificationRecord::all();
    ASSERT_EQ(notifications.size(), 2u);
    EXPECT_EQ(notifications[0].value, notifications[1].value);
    EXPECT_NE(notifications[0].thread, notifications[1].thread);
}

TEST_F(SynchronousMode, APreloadReturnsWithItsUrlAndTheStartWithOptionZeroDeliversIt) {
    const auto proxy = createProxy();

    proxy->preload(0.5, clip("clip.webm"), "", "");

    ASSERT_NE(proxy->localURL(), "");
    EXPECT_TRUE(NotificationRecord::all().empty());
    proxy->start("", 0);
    const std::vector<Notification> notifications = NotificationRecord::all();
    ASSERT_GE(notifications.size(), 2u);
    EXPECT_EQ(notifications[0].changed, "url");
    EXPECT_EQ(notifications[1].changed, "definitions");
}

TEST_F(SynchronousMode, AnUnplayableMediumLeavesTheStateStarting) {
    const auto proxy = createProxy();

    proxy->start(clip("not-media.txt"), 1);

    EXPECT_EQ(proxy->getState(), State::Starting);
    EXPECT_EQ(proxy->localURL(), "");
}

TEST_F(SynchronousMode, StopReturnsAfterTheServiceLetGoOfTheMedium) {
    const auto proxy = createProxy();
    proxy->start(clip("clip.webm"), 1);
    const std::string url = proxy->localURL();

    proxy->stop();

    EXPECT_EQ(fetch(url).status, 404);
}

TEST_F(SynchronousMode, AnAsynchronousCreationWorksToo) {
    const auto first = createProxy();

    const auto second = manager().createNewZUVMediaProxy();

    EXPECT_FALSE(second->id().empty());
    EXPECT_NE(second->id(), first->id());
}

} // namespace
