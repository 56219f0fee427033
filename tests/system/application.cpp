#include "system/application.h"

#include "bus/topic_message.h"
#include "support/bus_peer.h"

#include <cstdlib>

namespace velmora::system_test {

ApplicationTest::ApplicationTest() : m_bus(ZUV_PROGRAMS_DIR) {
    setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1);
}

void ApplicationTest::startService() {
    ASSERT_GE(BusPeer().start(desktop::kServiceName), 0);
}

ZUVMediaProxyManagerInterface& ApplicationTest::manager() {
    ZUVMediaProxyManagerInterface& manager = *requestZUVMediaProxy();
    manager.setZUVCallback(&NotificationRecord::onMainVideo);
    manager.setZUVAdCallback(&NotificationRecord::onAdvertisement);
    return manager;
}

} // namespace velmora::system_test
