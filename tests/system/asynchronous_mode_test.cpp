// The library in asynchronous mode against the real service: commands return at once, notifications come over the
// bus.
#include "system/application.h"

using namespace velmora;
using namespace velmora::system_test;
namespace State = velmora::ZUVMediaProxyState;

namespace {

class AsynchronousMode : public ApplicationTest {
protected:
    void SetUp() override { startService(); }
};

class AsynchronousModeWithoutService : public ApplicationTest {};

TEST_F(AsynchronousModeWithoutService, CreationStartsTheServiceAndReturnsARegisteredProxy) {
    const auto proxy = manager().createNewZUVMediaProxy();

    ASSERT_FALSE(proxy->id().empty());
    EXPECT_EQ(ZUVMediaProxyInterface::getObjectById(proxy->id()), proxy);
    EXPECT_EQ(proxy->getState(), State::Idle);
}

TEST_F(AsynchronousMode, TwoProxiesStandForTwoObjects) {
    const auto first = manager().createNewZUVMediaProxy();
    const auto second = manager().createNewZUVMediaProxy();

    EXPECT_NE(first->id(), second->id());
}

TEST_F(AsynchronousMode, StartBringsALocalUrlWithTheMediumsBytes) {
    const auto proxy = manager().createNewZUVMediaProxy();

    proxy->start(clip("clip.webm"), 1);

    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_EQ(url->proxyId, proxy->id());
    EXPECT_TRUE(eventually([&] { return proxy->getState() == State::Started; }));
    EXPECT_EQ(proxy->localURL(), url->value);
    const HttpAnswer served = fetch(url->value);
    EXPECT_EQ(served.status, 200);
    EXPECT_TRUE(served.body == fileBytes(clip("clip.webm")));
}

TEST_F(AsynchronousMode, CallbacksRunOnTheBusDeliveryThread) {
    const auto proxy = manager().createNewZUVMediaProxy();

    proxy->start(clip("clip.webm"), 1);

    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    const auto definitions = NotificationRecord::await(Medium::MainVideo, "definitions");
    ASSERT_TRUE(url && definitions);
    EXPECT_NE(url->thread, std::this_thread::get_id());
    EXPECT_EQ(url->thread, definitions->thread);
}

TEST_F(AsynchronousMode, DefinitionsFollowAStart) {
    const auto proxy = manager().createNewZUVMediaProxy();

    proxy->start(clip("clip.webm"), 1);

    const auto definitions = NotificationRecord::await(Medium::MainVideo, "definitions");
    ASSERT_TRUE(definitions.has_value());
    EXPECT_NE(definitions->value.find(proxy->localURL()), std::string::npos) << definitions->value;
}

TEST_F(AsynchronousMode, AnAdvertisementHasItsOwnCallbackAndMakesTheMainStateStarted) {
    const auto proxy = manager().createNewZUVMediaProxy();

    proxy->startAd(clip("clip.webm"), 1);

    const auto url = NotificationRecord::await(Medium::Advertisement, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_TRUE(eventually([&] { return proxy->getState() == State::Started; }));
    EXPECT_EQ(proxy->getAdState(), State::Starting);
    EXPECT_EQ(proxy->localAdURL(), url->value);
    EXPECT_EQ(proxy->localURL(), "");
    EXPECT_TRUE(fetch(url->value).body == fileBytes(clip("clip.webm")));
}

TEST_F(AsynchronousMode, APreloadIsDeliveredByTheStartWithOptionZero) {
    const auto proxy = manager().createNewZUVMediaProxy();
    proxy->preload(0.0, clip("clip.webm"), "", "");
    ASSERT_TRUE(eventually([&] { return !proxy->localURL().empty(); }));
    EXPECT_TRUE(NotificationRecord::all().empty());

    proxy->start("", 0);

    const std::vector<Notification> notifications = NotificationRecord::all();
    ASSERT_GE(notifications.size(), 2u);
    EXPECT_EQ(notifications[0].changed, "url");
    EXPECT_EQ(notifications[0].value, proxy->localURL());
    EXPECT_EQ(notifications[0].thread, std::this_thread::get_id());
    EXPECT_EQ(notifications[1].changed, "definitions");
    EXPECT_TRUE(fetch(proxy->localURL()).body == fileBytes(clip("clip.webm")));
}

TEST_F(AsynchronousMode, AStartWithOptionZeroRightAfterThePreloadGetsItsUrlOnce) {
    const auto proxy = manager().createNewZUVMediaProxy();

    proxy->preload(0.0, clip("clip.webm"), "", "");
    proxy->start("", 0);

    const auto definitions = NotificationRecord::await(Medium::MainVideo, "definitions");
    ASSERT_TRUE(definitions.has_value());
    std::size_t urls = 0;
    for (const Notification& notification : NotificationRecord::all())
        urls += notification.changed == "url";
    EXPECT_EQ(urls, 1u);
}

TEST_F(AsynchronousMode, AfterAStopTheLocalUrlServesNothing) {
    const auto proxy = manager().createNewZUVMediaProxy();
    proxy->start(clip("clip.webm"), 1);
    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());

    proxy->stop();

    EXPECT_EQ(proxy->getState(), State::Idle);
    EXPECT_EQ(proxy->localURL(), "");
    EXPECT_TRUE(eventually([&] { return fetch(url->value).status == 404; }));
}

TEST_F(AsynchronousMode, AnUnplayableMediumCallsNobodyBackAndTheNextStartPlays) {
    const auto proxy = manager().createNewZUVMediaProxy();

    proxy->start(clip("not-media.txt"), 1);
    proxy->start(clip("clip.webm"), 1);

    const auto url = NotificationRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_TRUE(fetch(url->value).body == fileBytes(clip("clip.webm")));
    ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "definitions"));
}

TEST_F(AsynchronousModeWithoutService, WithoutABusACreationGivesAProxyWithoutIdentifier) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);

    const auto proxy = manager().createNewZUVMediaProxy();

    ASSERT_TRUE(proxy);
    EXPECT_EQ(proxy->id(), "");
}

} // namespace
