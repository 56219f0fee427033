// What every system test has: a private bus with the service and the keeper behind it, the client library as
// an application sees it, and a record of its callbacks.
#ifndef ZUV_TESTS_SYSTEM_APPLICATION_H
#define ZUV_TESTS_SYSTEM_APPLICATION_H

#include "launcher/private_bus.h"
#include "system/news_record.h"
#include "zuv_media_proxy.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace velmora::system_test {

/// Starts a bus of its own with nothing on it: what the library needs is started when it asks for it.
class ApplicationTest : public ::testing::Test {
protected:
    ApplicationTest();

    /// Starts the service and returns when it answers, for tests that are not about its start.
    void startService();

    /// The library, connected to the test's bus, with both callbacks registered.
    ZUVMediaProxyManagerInterface& manager();

    /// A generated clip, by its file name.
    static std::string media(const std::string& name);

    desktop::PrivateBus m_bus;
};

/// Polls `condition` until it holds or kPatience has passed; for what no event announces.
bool eventually(const std::function<bool()>& condition);

/// The status and the bytes behind a local URL.
struct Download {
    int status;
    std::string bytes;
};
Download download(const std::string& url);

/// Whether a connection to what is behind the local URL is taken, and nothing comes over it.
bool hangs(const std::string& url);

std::string fileBytes(const std::string& path);

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_APPLICATION_H
