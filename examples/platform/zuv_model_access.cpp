#include "zuv_model_access.h"

#include "in_process_bus.h"

#include <cerrno>
#include <thread>

namespace velmora {

// Every platform's library has to define it: the class's vtable goes with it.
IZuvModelAccess::~IZuvModelAccess() = default;

struct ZUVModelAccess::Impl {
    ZUVModelAccessClient* client;
    std::shared_ptr<Inbox> inbox = std::make_shared<Inbox>();
    std::thread delivery{};
};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(new Impl{.client = client}) {}

// Called from inside a callback, it leaves the delivery thread to finish on the inbox, which the thread
// shares.
ZUVModelAccess::~ZUVModelAccess() {
    InProcessBus::instance().remove(m_impl->inbox);
    m_impl->inbox->close();
    if (m_impl->delivery.get_id() == std::this_thread::get_id())
        m_impl->delivery.detach();
    else if (m_impl->delivery.joinable())
        m_impl->delivery.join();
}

// The bus is the process itself: nothing to connect to.
int ZUVModelAccess::initialize() {
    return 0;
}

int ZUVModelAccess::start() {
    InProcessBus::instance().add(m_impl->inbox);
    m_impl->delivery = std::thread([client = m_impl->client, inbox = m_impl->inbox] {
        while (auto event = inbox->take())
            client->onZUVEvent(*event);
    });
    return 0;
}

// There is no process that could be started; whoever plays the service is in this one.
int ZUVModelAccess::startService() {
    return -ENOSYS;
}

int ZUVModelAccess::read(const std::string& topic, std::vector<std::string>& values) {
    const auto value = InProcessBus::instance().valueOf(topic);
    values = value.value_or(Values());
    return value ? 0 : -ENODATA;
}

int ZUVModelAccess::publish(std::string topic, std::vector<std::string> values) {
    InProcessBus::instance().publish(topic, values);
    return 0;
}

} // namespace velmora
