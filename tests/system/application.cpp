#include "system/application.h"

#include "bus/topic_message.h"
#include "support/http_client.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <thread>

namespace velmora::system_test {
ApplicationTest::ApplicationTest() : m_bus(ZUV_PROGRAMS_DIR) {
    setenv("DBUS_SESSION_BUS_ADDRESS", m_bus.address().c_str(), 1);
}

void ApplicationTest::startService() {
    desktop::BusPointer bus;
    ASSERT_GE(desktop::openBus(bus), 0);
    const char* daemon = "org.freedesktop.DBus";
    ASSERT_GE(sd_bus_call_method(bus.get(), daemon, "/org/freedesktop/DBus", daemon, "StartServiceByName", nullptr,
                                 nullptr, "su", desktop::kServiceName, 0),
              0);
}

ZUVMediaProxyManagerInterface& ApplicationTest::manager() {
    ZUVMediaProxyManagerInterface& manager = *requestZUVMediaProxy();
    manager.setZUVCallback(&NewsRecord::onMainVideoNews);
    manager.setZUVAdCallback(&NewsRecord::onAdvertisementNews);
    return manager;
}

std::string ApplicationTest::media(const std::string& name) {
    return std::string(ZUV_TEST_MEDIA_DIR) + "/" + name;
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

Download download(const std::string& url) {
    const desktop::HttpAnswer answer = desktop::ask(url, {.patience = kPatience});
    return {answer.status, answer.body};
}

bool hangs(const std::string& url) {
    return desktop::ask(url, {.patience = std::chrono::milliseconds(200)}).timedOut;
}

std::string fileBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace velmora::system_test
