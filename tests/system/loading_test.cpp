// The shared object as an engine meets it: loaded at run time, let go, loaded again.
#include "launcher/private_bus.h"
#include "system/news_record.h"
#include "zuv_media_proxy.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

using namespace velmora;
using namespace velmora::system_test;

namespace {

ZUVMediaProxyManagerInterface* requestFrom(void* library) {
    void* const symbol = dlsym(library, "requestZUVMediaProxy");
    return symbol == nullptr ? nullptr : reinterpret_cast<decltype(&requestZUVMediaProxy)>(symbol)();
}

TEST(SharedObject, DeliversAfterItWasLetGoAndLoadedAgain) {
    const desktop::PrivateBus bus(ZUV_PROGRAMS_DIR);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.address().c_str(), 1);
    const std::string clip = std::string(ZUV_TEST_MEDIA_DIR) + "/clip.webm";

    void* library = dlopen(ZUV_MEDIA_PROXY_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    ZUVMediaProxyManagerInterface* const manager = requestFrom(library);
    ASSERT_NE(manager, nullptr);
    manager->setZUVCallback(&NewsRecord::onMainVideoNews);
    const auto proxy = manager->createNewZUVMediaProxy();
    proxy->start(clip, 1);
    ASSERT_TRUE(NewsRecord::await(Medium::MainVideo, "url", 1));
    EXPECT_EQ(dlclose(library), 0);

    library = dlopen(ZUV_MEDIA_PROXY_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(requestFrom(library), manager);
    proxy->start(clip, 1);
    EXPECT_TRUE(NewsRecord::await(Medium::MainVideo, "url", 2));
    EXPECT_EQ(dlclose(library), 0);
}

} // namespace
