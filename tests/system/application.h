// The fixture of every system test: a private bus that starts the service and the keeper on demand, and the client
// library with a record of its notifications.
#ifndef ZUV_TESTS_SYSTEM_APPLICATION_H
#define ZUV_TESTS_SYSTEM_APPLICATION_H

#include "launcher/private_bus.h"
#include "support/awaiting.h"
#include "support/http_client.h"
#include "support/notification_record.h"
#include "support/test_files.h"
#include "zuv_media_proxy.h"

#include <gtest/gtest.h>

namespace velmora::system_test {

/// Gives each test a bus of its own, on which nothing runs until the library asks for it.
class ApplicationTest : public ::testing::Test {
protected:
    ApplicationTest();

    /// Starts the service and returns when it answers, for tests that are not about its start.
    static void startService();

    /// The library's manager, on the test's bus, with both callbacks registered.
    static ZUVMediaProxyManagerInterface& manager();

    desktop::PrivateBus m_bus;
};

} // namespace velmora::system_test

#endif // ZUV_TESTS_SYSTEM_APPLICATION_H
