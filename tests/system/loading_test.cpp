// The shared object as an engine meets it: loaded at run time, let go, loaded again.
#include "launcher/private_bus.h"
#include "support/loaded_library.h"
#include "support/notification_record.h"
#include "support/test_files.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <optional>

namespace velmora::system_test {
namespace {

TEST(SharedObject, DeliversAfterItWasLetGoAndLoadedAgain) {
    const desktop::PrivateBus bus(ZUV_PROGRAMS_DIR);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);

    std::optional<LoadedLibrary> library(ZUV_MEDIA_PROXY_LIBRARY);
    ZUVMediaProxyManagerInterface* const manager = library->manager();
    ASSERT_NE(manager, nullptr);
    manager->setZUVCallback(&NotificationRecord::onMainVideo);
    const auto proxy = manager->createNewZUVMediaProxy();
    proxy->start(clip("clip.webm"), 1);
    ASSERT_TRUE(NotificationRecord::await(Medium::MainVideo, "url", 1));

    library.reset();
    library.emplace(ZUV_MEDIA_PROXY_LIBRARY);
    EXPECT_EQ(library->manager(), manager);
    proxy->start(clip("clip.webm"), 1);
    EXPECT_TRUE(NotificationRecord::await(Medium::MainVideo, "url", 2));
}

} // namespace
} // namespace velmora::system_test
