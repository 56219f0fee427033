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

    proxy->start(media("clip.webm"), 1);

    EXPECT_EQ(proxy->getState(), State::Started);
    const auto url = NewsRecord::await(Medium::MainVideo, "url");
    ASSERT_TRUE(url.has_value());
    EXPECT_EQ(proxy->localURL(), url->value);
    EXPECT_TRUE(download(url->value).bytes == fileBytes(media("clip.webm")));
}

TEST_F(SynchronousMode, AnAdvertisementsUrlComesFromTheRequestAndFromTheBus) {
    const auto proxy = createProxy();

    proxy->startAd(media("clip.webm"), 1);

    const auto second = NewsRecord::await(Medium::Advertisement, "url", 2);
    ASSERT_TRUE(second.has_value());
    const std::vector<News> news = NewsRecord::all();
    ASSERT_EQ(news.size(), 2u);
    EXPECT_EQ(news[0].value, news[1].value);
    EXPECT_NE(news[0].thread, news[1].thread);
}

TEST_F(SynchronousMode, APreloadReturnsWithItsUrlAndTheStartWithOptionZeroDeliversIt) {
    const auto proxy = createProxy();

    proxy->preload(0.5, media("clip.webm"), "", "");

    ASSERT_NE(proxy->localURL(), "");
    EXPECT_TRUE(NewsRecord::all().empty());
    proxy->start("", 0);
    const std::vector<News> news = NewsRecord::all();
    ASSERT_GE(news.size(), 2u);
    EXPECT_EQ(news[0].changed, "url");
    EXPECT_EQ(news[1].changed, "definitions");
}

TEST_F(SynchronousMode, AnUnplayableMediumLeavesTheStateStarting) {
    const auto proxy = createProxy();

    proxy->start(media("not-media.txt"), 1);

    EXPECT_EQ(proxy->getState(), State::Starting);
    EXPECT_EQ(proxy->localURL(), "");
}

TEST_F(SynchronousMode, StopReturnsAfterTheServiceLetGoOfTheMedium) {
    const auto proxy = createProxy();
    proxy->start(media("clip.webm"), 1);
    const std::string url = proxy->localURL();

    proxy->stop();

    EXPECT_EQ(download(url).status, 404);
}

TEST_F(SynchronousMode, AnAsynchronousCreationWorksToo) {
    const auto first = createProxy();

    const auto second = manager().createNewZUVMediaProxy();

    EXPECT_FALSE(second->id().empty());
    EXPECT_NE(second->id(), first->id());
}

} // namespace
