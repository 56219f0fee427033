#include "zuv_model_access.h"

#include "bus/bus_connection.h"
#include "bus/topic_message.h"

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <future>
#include <system_error>
#include <thread>

namespace velmora {

using desktop::BusConnection;

namespace {

void deliverEvents(BusConnection& bus, ZUVModelAccessClient& client) {
    while (auto event = bus.nextEvent())
        client.onZUVEvent(*event);
}

// Delivers events, and reports when the bus is lost and when it is back. The client is not used any more once the
// connection is stopped, because it may have been destroyed.
void deliver(const std::shared_ptr<BusConnection>& bus, ZUVModelAccessClient& client,
             const std::future<void>& started) {
    started.wait();
    for (;;) {
        deliverEvents(*bus, client);
        if (bus->isStopped())
            return;
        client.onModelAccessStateChanged();
        if (!bus->reconnect())
            return;
        client.onModelAccessStateChanged();
    }
}

// Blocks all signals, so that a thread created meanwhile inherits the mask and leaves signals to the host's threads.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t m_before;
};

} // namespace

IZuvModelAccess::~IZuvModelAccess() = default;

// The delivery thread shares ownership of the connection: when a client destroys its ZUVModelAccess inside a callback,
// the thread still has a valid connection until it ends.
struct ZUVModelAccess::Impl {
    ZUVModelAccessClient* client = nullptr;
    std::shared_ptr<BusConnection> bus = std::make_shared<BusConnection>();
    std::thread delivery;
};

ZUVModelAccess::ZUVModelAccess(ZUVModelAccessClient* client) : m_impl(std::make_unique<Impl>()) {
    m_impl->client = client;
}

ZUVModelAccess::~ZUVModelAccess() {
    m_impl->bus->stop();
    if (m_impl->delivery.get_id() == std::this_thread::get_id())
        m_impl->delivery.detach();
    else if (m_impl->delivery.joinable())
        m_impl->delivery.join();
}

int ZUVModelAccess::initialize() {
    return m_impl->bus->open(desktop::kEventTopic);
}

int ZUVModelAccess::start() {
    if (m_impl->client == nullptr)
        return -EINVAL;
    if (m_impl->delivery.joinable())
        return -EALREADY;
    if (!m_impl->bus->isOpened())
        return -ENOTCONN;
    const SignalsBlocked inDeliveryThread;
    std::promise<void> started; // delivery waits for it: a client may destroy this object in its first callback
    try {
        m_impl->delivery = std::thread(deliver, m_impl->bus, std::ref(*m_impl->client), started.get_future());
    } catch (const std::system_error& error) {
        return -error.code().value();
    }
    pthread_setname_np(m_impl->delivery.native_handle(), "zuv-bus");
    started.set_value();
    return 0;
}

int ZUVModelAccess::startService() {
    return m_impl->bus->startService();
}

int ZUVModelAccess::read(const std::string& topic, std::vector<std::string>& values) {
    return m_impl->bus->read(topic, values);
}

int ZUVModelAccess::publish(std::string topic, std::vector<std::string> values) {
    return m_impl->bus->publish(topic, values);
}

} // namespace velmora
