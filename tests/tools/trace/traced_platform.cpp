// A platform without a bus, for traced_application: what a connection publishes is delivered to its client before the
// call returns, on the same thread, and exceptions of the client pass to the caller.
#include "zuv_model_access.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace velmora {

IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {
    ZUVModelAccessClient* client;
};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(std::make_unique<Impl>()) {
    static bool isFirst = true;
    m_impl->client = client;
    if (std::exchange(isFirst, false) && std::getenv("TRACED_PLATFORM_FAILS") != nullptr)
        throw std::runtime_error("from the constructor");
}

// The last event, as of a callback in progress.
ZUVModelAccess::~ZUVModelAccess() {
    std::vector<std::string> last = {"at the end"};
    if (m_impl->client != nullptr && std::getenv("TRACED_PLATFORM_ENDS_LATE") != nullptr)
        m_impl->client->onZUVEvent(last);
}

int ZUVModelAccess::initialize() {
    return -ENOTCONN;
}

int ZUVModelAccess::start() {
    return m_impl->client == nullptr ? -EINVAL : 0;
}

int ZUVModelAccess::startService() {
    m_impl->client->onModelAccessStateChanged();
    return 0;
}

int ZUVModelAccess::read(const std::string& topic, std::vector<std::string>& values) {
    if (topic == "throw")
        throw std::runtime_error("from read");
    values = {topic, "value"};
    errno = ENODATA;
    return 7;
}

// The client may destroy the connection in its callback.
int ZUVModelAccess::publish(std::string topic, std::vector<std::string> values) {
    values.push_back(topic);
    m_impl->client->onZUVEvent(values);
    return 3;
}

} // namespace velmora
